#pragma once

#include "SampleCatalog.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace lorekeep::sample {

/// One stored file of an asset, as a ZINTERNALRESOURCE row describes it.
struct ResourceRecord {
    int resourceType = 0; ///< 0 photo, 1 video, 3 Live Photo video, 4 RAW alternate
    int version = 0;      ///< 0 original, 2 current (edited)
    int recipeId = 0;
    int dataStoreSubtype = 1;
    int compactUti = 1; ///< 1 JPEG, 9 DNG, 23 QuickTime movie
    int conformanceHint = 1;
    std::string codec; ///< four-character code of a movie's video
    int width = 0;
    int height = 0;
    std::int64_t bytes = 0;

    /// The row of an original file (version 0) holding these bytes.
    [[nodiscard]] static ResourceRecord original(int resourceType, int compactUti, int conformanceHint, int width,
                                                 int height, const std::string& bytes) {
        ResourceRecord record;
        record.resourceType = resourceType;
        record.compactUti = compactUti;
        record.conformanceHint = conformanceHint;
        record.width = width;
        record.height = height;
        record.bytes = static_cast<std::int64_t>(bytes.size());
        return record;
    }
};

/// An asset's rows: ZASSET, ZADDITIONALASSETATTRIBUTES, ZEXTENDEDATTRIBUTES and its resources.
struct AssetRecord {
    const SampleAsset* asset = nullptr;
    int kind = 0;        ///< 0 photo, 1 video
    int kindSubtype = 0; ///< 2 Live Photo
    int playbackStyle = 1;
    std::string filename; ///< under originals/<first character of the UUID>/
    std::string uniformTypeIdentifier;
    double added = 0;
    std::optional<double> adjusted; ///< when the asset was edited
    int width = 0;                  ///< of the current version
    int height = 0;
    int originalWidth = 0;
    int originalHeight = 0;
    std::int64_t originalBytes = 0;
    double duration = 0;
    double framesPerSecond = 0;
    std::vector<ResourceRecord> resources;
};

/// Writes database/Photos.sqlite of a library package: a subset of the macOS 26.1 schema, the rows of folders,
/// albums and assets, and Core Data's persistent history with one transaction per created object, as Photos
/// would have recorded them.
class PhotosDatabaseWriter {
public:
    /// Creates the database file, which must not exist yet. Transactions are stamped from `clock` on, one second
    /// apart.
    PhotosDatabaseWriter(const std::filesystem::path& file, std::string storeUuid, double clock);
    ~PhotosDatabaseWriter();
    PhotosDatabaseWriter(const PhotosDatabaseWriter&) = delete;
    PhotosDatabaseWriter& operator=(const PhotosDatabaseWriter&) = delete;

    /// A folder (kind 4000), or one of the roots of the folder tree (3999 albums, 3998 projects); returns its key.
    std::int64_t addFolder(const std::string& uuid, const std::optional<std::string>& title, int kind,
                           std::optional<std::int64_t> parent, int position);
    std::int64_t addAsset(const AssetRecord& record);
    /// A user album holding the assets, in that order.
    std::int64_t addAlbum(const std::string& uuid, const std::string& title, std::int64_t parent, int position,
                          const std::vector<std::int64_t>& assets);

    /// Writes the model's bookkeeping (Z_PRIMARYKEY, Z_METADATA) and leaves the database in write-ahead-log mode, as
    /// Photos keeps it.
    void finish();

private:
    void execute(const std::string& sql);
    /// Begins a history transaction (at the next clock tick) and returns its timestamp.
    double beginTransaction();
    void recordInsert(std::string_view entity, std::int64_t key);
    std::int64_t nextKey(std::string_view table);
    std::int64_t stringKey(const std::string& name);

    sqlite3* m_database = nullptr;
    std::string m_storeUuid;
    double m_clock;
    std::int64_t m_transaction = 0;
    std::vector<std::pair<std::string, std::int64_t>> m_keys;
    /// Prepared statements by their SQL, so that a large library's thousands of alike rows reuse them.
    std::unordered_map<std::string, sqlite3_stmt*> m_statements;
    std::map<std::string, std::int64_t, std::less<>> m_strings;
};

} // namespace lorekeep::sample
