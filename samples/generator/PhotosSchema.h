#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lorekeep::sample {

/// The part of the Photos data model (macOS 26.1, model 19320) that the sample library fills: its entities with the
/// numbers that model gives them, and the tables and columns Core Data makes of them.
class PhotosSchema {
public:
    static constexpr int modelVersion = 19320;

    struct Entity {
        int number;
        std::string_view name;
        int super; ///< 0 for a root entity
    };

    [[nodiscard]] static const std::vector<Entity>& entities();
    /// The number of an entity of the list; throws for any other name.
    [[nodiscard]] static int entity(std::string_view name);

    /// Album membership lives in a join table named after the entity numbers: Z_<Album>ASSETS with the columns
    /// Z_<Album>ALBUMS, Z_<Asset>ASSETS and the order Z_FOK_<Asset>ASSETS.
    [[nodiscard]] static std::string membershipTable();
    [[nodiscard]] static std::string membershipAlbumColumn();
    [[nodiscard]] static std::string membershipAssetColumn();
    [[nodiscard]] static std::string membershipOrderColumn();

    /// CREATE TABLE and CREATE INDEX statements of every table the sample uses.
    [[nodiscard]] static std::vector<std::string> statements();
};

} // namespace lorekeep::sample
