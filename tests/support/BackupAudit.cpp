#include "support/BackupAudit.h"

#include "base/FileHash.h"
#include "destination/Layout.h"
#include "index/BackupIndex.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>

namespace lorekeep::test::BackupAudit {

namespace fs = std::filesystem;

std::vector<std::string> unaccounted(const fs::path& root) {
    std::set<std::string> held;
    if (fs::exists(BackupIndex::location(root))) {
        for (const auto& [id, entry] : BackupIndex::load(root).assets) {
            for (const IndexedFile& file : entry.files) {
                held.insert(file.relativePath);
                if (file.xmpPath)
                    held.insert(*file.xmpPath);
            }
        }
    }
    std::vector<std::string> problems;
    const fs::path byDate = root / Layout::byDate;
    for (fs::recursive_directory_iterator it(fs::exists(byDate) ? byDate : root / Layout::engineFolder), end;
         fs::exists(byDate) && it != end; ++it) {
        const std::string relative = fs::relative(it->path(), root).generic_string();
        if (it->is_directory() && fs::is_empty(it->path()))
            problems.push_back("empty folder " + relative);
        else if (!it->is_directory() && !held.erase(relative))
            problems.push_back("not in the index: " + relative);
    }
    for (const std::string& path : held)
        problems.push_back("missing: " + path);
    return problems;
}

std::vector<std::string> fingerprint(const fs::path& folder) {
    std::vector<std::string> lines;
    for (fs::recursive_directory_iterator it(folder), end; it != end; ++it) {
        struct stat status {};
        if (::lstat(it->path().c_str(), &status) != 0)
            throw fs::filesystem_error("cannot read", it->path(), std::error_code(errno, std::generic_category()));
        const std::string relative = fs::relative(it->path(), folder).generic_string();
        std::string line =
            relative + " mode " + std::to_string(status.st_mode) + " size " + std::to_string(status.st_size);
        // A reader of a database with a write-ahead log takes its read marks in the log's shared-memory index, as
        // every reader must while Photos may be writing; the time changes, the contents come back the same.
        if (!relative.ends_with("-shm"))
            line += " mtime " + std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
        if (S_ISREG(status.st_mode))
            line += " " + FileHash::sha256(it->path()).sha256;
        lines.push_back(std::move(line));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace lorekeep::test::BackupAudit
