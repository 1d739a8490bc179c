#pragma once

#include "library/PhotoLibrary.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

class PackageDatabase;

/// The asset rows of a library database as Assets. Fetches find the matching rows' keys in one query and make
/// each Asset only when the list is asked for it, so a list holds eight bytes per asset.
class PackageAssets {
public:
    explicit PackageAssets(std::shared_ptr<const PackageDatabase> database);
    ~PackageAssets();

    [[nodiscard]] AssetList fetch(const FetchOptions& options) const;
    [[nodiscard]] AssetList fetch(const std::vector<std::string>& identifiers, const FetchOptions& options) const;
    [[nodiscard]] AssetList fetchInAlbum(std::int64_t albumKey, const FetchOptions& options) const;

    /// Mapping of the database's values to the platform's.
    [[nodiscard]] static MediaType mediaType(std::int64_t kind);
    [[nodiscard]] static std::uint64_t mediaSubtypes(std::int64_t kindSubtype);

private:
    class Reader;
    class Source;

    [[nodiscard]] std::string conditions(const FetchOptions& options) const;
    [[nodiscard]] AssetList list(std::vector<std::int64_t> keys) const;

    std::shared_ptr<const PackageDatabase> m_database;
    std::shared_ptr<Reader> m_reader;
};

} // namespace lorekeep
