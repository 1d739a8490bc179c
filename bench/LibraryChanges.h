#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct sqlite3;

namespace lorekeep::bench {

/// Changes a library package's database the way Photos records a user's work: on a connection of its own, each
/// change in a transaction of the persistent history (ATRANSACTION with its ACHANGE rows).
class LibraryChanges {
public:
    explicit LibraryChanges(const std::filesystem::path& package);
    ~LibraryChanges();
    LibraryChanges(const LibraryChanges&) = delete;
    LibraryChanges& operator=(const LibraryChanges&) = delete;

    /// Edits `count` assets spread over the library, one transaction each: their modification date moves to
    /// `when` (seconds since 2001). Returns the identifiers of the edited assets.
    std::vector<std::string> editAssets(int count, double when);

    /// Puts count / 2 assets into albums they were not in and takes as many out of albums they were in, one
    /// transaction each. Returns the number of memberships changed.
    int moveAlbumMembers(int count, double when);

private:
    void run(const std::string& sql);
    std::vector<std::vector<std::int64_t>> rows(const std::string& sql);
    /// One history transaction around the change: an update of the row `key` of the entity.
    void transaction(const std::string& change, const char* entity, std::int64_t key, double when);

    sqlite3* m_database = nullptr;
};

} // namespace lorekeep::bench
