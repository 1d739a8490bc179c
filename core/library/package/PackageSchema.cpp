#include "library/package/PackageSchema.h"

#include "library/PhotoLibrary.h"
#include "library/SqliteDatabase.h"

#include <algorithm>
#include <map>

namespace lorekeep {
namespace {

struct Entity {
    std::string name;
    int super = 0;
};

class EntityMap {
public:
    explicit EntityMap(const SqliteDatabase& database) {
        SqliteStatement statement = database.prepare("SELECT Z_ENT, Z_NAME, Z_SUPER FROM Z_PRIMARYKEY");
        while (statement.step())
            m_entities[static_cast<int>(statement.integer(0))] = {statement.text(1),
                                                                  static_cast<int>(statement.integer(2))};
    }

    [[nodiscard]] int number(std::string_view name) const {
        for (const auto& [number, entity] : m_entities) {
            if (entity.name == name)
                return number;
        }
        return 0;
    }

    [[nodiscard]] int root(int number) const {
        // Bounded walk: a damaged Z_SUPER chain must not loop forever.
        for (std::size_t steps = 0; steps < m_entities.size(); ++steps) {
            const auto found = m_entities.find(number);
            if (found == m_entities.end() || found->second.super == 0 || found->second.super == number)
                return number;
            number = found->second.super;
        }
        return number;
    }

    /// The entity and every entity below it.
    [[nodiscard]] std::vector<int> family(int number) const {
        std::vector<int> result;
        for (const auto& [candidate, entity] : m_entities) {
            int current = candidate;
            for (std::size_t steps = 0; current != 0 && steps <= m_entities.size(); ++steps) {
                if (current == number) {
                    result.push_back(candidate);
                    break;
                }
                const auto found = m_entities.find(current);
                current = found == m_entities.end() ? 0 : found->second.super;
            }
        }
        return result;
    }

    [[nodiscard]] std::string tableOf(int number) const {
        const auto found = m_entities.find(root(number));
        if (found == m_entities.end())
            return {};
        std::string table = "Z" + found->second.name;
        std::transform(table.begin(), table.end(), table.begin(), [](unsigned char c) { return std::toupper(c); });
        return table;
    }

private:
    std::map<int, Entity> m_entities;
};

[[noreturn]] void unsupported(const std::string& detail) {
    throw LibraryError("This Photos library is not one this program can read (Photos 5 or later is needed): " + detail);
}

std::string requireTable(const SqliteDatabase& database, const std::string& table, std::string_view what) {
    if (table.empty() || !database.hasTable(table))
        unsupported("no table for " + std::string(what));
    return table;
}

} // namespace

PackageSchema PackageSchema::discover(const SqliteDatabase& database) {
    if (!database.hasTable("Z_PRIMARYKEY") || !database.hasTable("Z_METADATA"))
        unsupported("database/Photos.sqlite is not a Photos database");
    const EntityMap entities(database);
    PackageSchema schema;

    SqliteStatement metadata = database.prepare("SELECT Z_UUID FROM Z_METADATA LIMIT 1");
    if (!metadata.step() || metadata.isNull(0))
        unsupported("the store has no identity");
    schema.storeUuid = metadata.text(0);

    schema.assetEntity = entities.number("Asset");
    const int album = entities.number("Album");
    const int folder = entities.number("Folder");
    if (schema.assetEntity == 0 || album == 0 || folder == 0)
        unsupported("assets or albums are missing from the data model");
    const int assetRoot = entities.root(schema.assetEntity);
    schema.assetEntities = entities.family(assetRoot);
    schema.albumEntities = entities.family(album);
    schema.folderEntities = entities.family(folder);

    schema.assetTable = requireTable(database, entities.tableOf(schema.assetEntity), "assets");
    schema.albumTable = requireTable(database, entities.tableOf(album), "albums");
    schema.resourceTable = requireTable(database, entities.tableOf(entities.number("InternalResource")), "files");
    schema.attributeTable =
        requireTable(database, entities.tableOf(entities.number("AdditionalAssetAttributes")), "asset attributes");

    // The album-to-asset relationship is stored in Z_<album>ASSETS with Z_<album>ALBUMS, Z_<asset root>ASSETS and
    // the ordering column Z_FOK_<asset root>ASSETS.
    const std::string albumNumber = std::to_string(album);
    const std::string assetNumber = std::to_string(assetRoot);
    schema.membershipTable = requireTable(database, "Z_" + albumNumber + "ASSETS", "album contents");
    const std::set<std::string> membership = database.columns(schema.membershipTable);
    schema.membershipAlbumColumn = "Z_" + albumNumber + "ALBUMS";
    schema.membershipAssetColumn = "Z_" + assetNumber + "ASSETS";
    schema.membershipOrderColumn = "Z_FOK_" + assetNumber + "ASSETS";
    if (!membership.contains(schema.membershipAlbumColumn) || !membership.contains(schema.membershipAssetColumn))
        unsupported("unexpected columns in " + schema.membershipTable);
    if (!membership.contains(schema.membershipOrderColumn))
        schema.membershipOrderColumn = schema.membershipAssetColumn;

    schema.assetColumns = database.columns(schema.assetTable);
    schema.resourceColumns = database.columns(schema.resourceTable);
    for (const char* column :
         {"ZUUID", "ZDATECREATED", "ZKIND", "ZTRASHEDSTATE", "ZHIDDEN", "ZDIRECTORY", "ZFILENAME"}) {
        if (!schema.assetHas(column))
            unsupported(schema.assetTable + " has no column " + column);
    }

    const std::set<std::string> changeColumns = database.columns("ACHANGE");
    for (int index = 0; changeColumns.contains("ZTOMBSTONE" + std::to_string(index)); ++index)
        schema.tombstoneColumns.push_back("ZTOMBSTONE" + std::to_string(index));

    const std::set<std::string> bookmarkColumns = database.columns("ZFILESYSTEMBOOKMARK");
    schema.hasBookmarks = bookmarkColumns.contains("ZRESOURCE") && bookmarkColumns.contains("ZPATHRELATIVETOVOLUME") &&
                          schema.resourceHas("ZFILESYSTEMBOOKMARK");
    const std::string utiTable = entities.tableOf(entities.number("UniformTypeIdentifier"));
    if (!utiTable.empty() && database.columns(utiTable).contains("ZIDENTIFIER"))
        schema.utiTable = utiTable;
    return schema;
}

std::string PackageSchema::assetColumn(std::string_view column, std::string_view fallback) const {
    return assetHas(column) ? "a." + std::string(column) : std::string(fallback);
}

std::string PackageSchema::listedCondition() const {
    std::string condition = "a.Z_ENT = " + std::to_string(assetEntity) + " AND COALESCE(a.ZTRASHEDSTATE, 0) = 0";
    // The frames of a burst that are not picks stay behind the burst's representative, as in Photos.
    if (assetHas("ZAVALANCHEUUID") && assetHas("ZVISIBILITYSTATE"))
        condition += " AND NOT (a.ZAVALANCHEUUID IS NOT NULL AND a.ZVISIBILITYSTATE = 2)";
    return condition;
}

std::string PackageSchema::sharedCondition() const {
    return "(" + assetColumn("ZSAVEDASSETTYPE", "0") + " = 4 OR " + assetColumn("ZCLOUDBATCHPUBLISHDATE", "NULL") +
           " IS NOT NULL)";
}

std::string PackageSchema::editedCondition() const {
    if (assetHas("ZADJUSTMENTSSTATE"))
        return "COALESCE(a.ZADJUSTMENTSSTATE, 0) != 0";
    if (assetHas("ZHASADJUSTMENTS"))
        return "COALESCE(a.ZHASADJUSTMENTS, 0) != 0";
    return "0";
}

std::string PackageSchema::validDate(std::string_view column) {
    // 0001-01-01T00:00:00Z and 9999-12-31T23:59:59Z in seconds since 2001. Photos has been seen to store
    // hand-set values far outside, which no date formatter can print.
    const std::string name(column);
    return "(CASE WHEN " + name + " BETWEEN -63113904000 AND 252423993599 THEN " + name + " END)";
}

} // namespace lorekeep
