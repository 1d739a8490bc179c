#pragma once

#include "base/Date.h"
#include "run/BackupSummary.h"
#include "support/TempDir.h"

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace lorekeep::test {

/// A private copy of a real library and an empty destination beside it, backed up the way the command-line tool
/// does it: the whole personal library, read from the package, with the Shared Library filter read from the
/// copy's own database.
class LibraryBackup {
public:
    /// The instant every run takes as "now": 10:00 on 7 March 2025 in New York.
    static constexpr Date now = Date::fromUnixSeconds(1741359600);
    static constexpr const char* today = "2025-03-07";
    /// New York's rules, which put the backup's dates five hours behind UTC in winter and four in summer.
    static constexpr const char* timeZone = "EST5EDT,M3.2.0,M11.1.0";

    explicit LibraryBackup(std::string_view library);

    [[nodiscard]] const std::filesystem::path& package() const { return m_package; }
    [[nodiscard]] const std::filesystem::path& destination() const { return m_destination; }

    /// One run, on a reader of the package opened for it.
    [[nodiscard]] BackupSummary run() const;

    /// The destination as a person browsing it sees it (TreeSnapshot lines) but without the files' hashes: the
    /// names of the files and folders and where the links lead.
    [[nodiscard]] std::string names() const;

    /// The inode and modification time of every file and sidecar the index records, by relative path: what
    /// changes when a file is written again, even with the same contents.
    using Stamp = std::pair<ino_t, std::filesystem::file_time_type>;
    [[nodiscard]] std::map<std::string, Stamp> stamps() const;

private:
    TempDir m_folder;
    std::filesystem::path m_package;
    std::filesystem::path m_destination;
};

} // namespace lorekeep::test
