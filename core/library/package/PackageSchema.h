#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

class SqliteDatabase;

/// What a library database calls its tables and columns. Photos (a Core Data store) numbers its entities per
/// model version, and table and column names embed those numbers, so they are read from Z_PRIMARYKEY here rather
/// than assumed.
struct PackageSchema {
    /// Z_METADATA.Z_UUID: the identity of the store, which change tokens carry.
    std::string storeUuid;

    /// Z_ENT of Asset (the rows that are assets), and every entity number an asset change may carry.
    int assetEntity = 0;
    std::vector<int> assetEntities;
    /// Entity numbers of albums (Album and its sub-entities) and of folders.
    std::vector<int> albumEntities;
    std::vector<int> folderEntities;

    std::string assetTable;     ///< ZASSET (ZGENERICASSET before macOS 11)
    std::string albumTable;     ///< ZGENERICALBUM
    std::string resourceTable;  ///< ZINTERNALRESOURCE
    std::string attributeTable; ///< ZADDITIONALASSETATTRIBUTES

    /// The join table of album membership and its columns (album key, asset key, order within the album).
    std::string membershipTable;
    std::string membershipAlbumColumn;
    std::string membershipAssetColumn;
    std::string membershipOrderColumn;

    std::set<std::string> assetColumns;
    std::set<std::string> resourceColumns;
    /// Columns ZTOMBSTONE0... of the history's change table, in order.
    std::vector<std::string> tombstoneColumns;
    /// ZFILESYSTEMBOOKMARK with its resource and path columns (referenced files).
    bool hasBookmarks = false;
    /// The UniformTypeIdentifier table that resource rows point at up to macOS 11 (empty when absent).
    std::string utiTable;

    [[nodiscard]] bool assetHas(std::string_view column) const { return assetColumns.contains(std::string(column)); }
    [[nodiscard]] bool resourceHas(std::string_view column) const {
        return resourceColumns.contains(std::string(column));
    }

    // SQL over the asset table under the alias "a".
    /// "a.<column>" when the asset table has the column, else the fallback expression.
    [[nodiscard]] std::string assetColumn(std::string_view column, std::string_view fallback) const;
    /// Rows that are listed at all: assets, not in Recently Deleted, not a burst frame hidden behind its pick.
    [[nodiscard]] std::string listedCondition() const;
    /// Items of iCloud shared albums.
    [[nodiscard]] std::string sharedCondition() const;
    /// Assets with edits.
    [[nodiscard]] std::string editedCondition() const;
    /// A date column as stored (seconds since 2001), or NULL when it is not a date of the years 1 to 9999.
    [[nodiscard]] static std::string validDate(std::string_view column);

    /// Reads the schema; throws LibraryError when the database is not a Photos library this program can read.
    static PackageSchema discover(const SqliteDatabase& database);
};

} // namespace lorekeep
