#include "albums/AliasWriter.h"

#include <cerrno>
#include <system_error>

namespace lorekeep {
namespace {

// Alias files are bookmark data that only the Apple frameworks write and resolve. Alias files left on a destination
// by a Mac are not recognised here, so they are never removed from this system.
class UnavailableAliasWriter final : public AliasWriter {
public:
    bool canWrite() const override { return false; }

    void write(const std::filesystem::path&, const std::filesystem::path&) override {
        throw std::system_error(ENOTSUP, std::generic_category(), "alias files cannot be written on this system");
    }

    bool isAlias(const std::filesystem::path&) const override { return false; }
};

} // namespace

std::shared_ptr<AliasWriter> AliasWriter::platform() {
    return std::make_shared<UnavailableAliasWriter>();
}

} // namespace lorekeep
