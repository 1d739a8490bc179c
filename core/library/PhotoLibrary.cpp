#include "library/PhotoLibrary.h"

namespace lorekeep {
namespace {

class VectorSource final : public AssetList::Source {
public:
    explicit VectorSource(std::vector<Asset> assets) : m_assets(std::move(assets)) {}
    std::size_t count() const override { return m_assets.size(); }
    Asset at(std::size_t index) const override { return m_assets.at(index); }

private:
    std::vector<Asset> m_assets;
};

} // namespace

AssetList AssetList::of(std::vector<Asset> assets) {
    return AssetList(std::make_shared<const VectorSource>(std::move(assets)));
}

std::optional<std::vector<char>> PhotoLibrary::readResource(const AssetResource&, std::size_t) {
    return std::nullopt;
}

RenderError RenderError::exportFailed(const std::string& message) {
    return {Kind::exportFailed, "video render failed: " + message};
}

RenderError RenderError::noData() {
    return {Kind::noData, "Photos returned no rendered data"};
}

} // namespace lorekeep
