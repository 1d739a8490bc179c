#include "e2e/LibraryBackup.h"

#include "index/BackupIndex.h"
#include "library/SharedLibraryFilter.h"
#include "library/package/PhotosPackageLibrary.h"
#include "run/BackupRunner.h"
#include "support/LibraryCopy.h"
#include "support/TreeSnapshot.h"

#include <sys/stat.h>

#include <stdexcept>

namespace lorekeep::test {

namespace fs = std::filesystem;

LibraryBackup::LibraryBackup(std::string_view library)
    : m_package(copyLibrary(library, m_folder / "library")), m_destination(m_folder / "backup") {
    fs::create_directory(m_destination);
}

BackupSummary LibraryBackup::run() const {
    PhotosPackageLibrary library(m_package);
    BackupRunner runner(
        library, [package = m_package] { return SharedLibraryFilter::loadState(package); }, [] { return now; });
    return runner.run(BackupScope{}, m_destination, {});
}

std::string LibraryBackup::names() const {
    std::string text;
    for (const std::string& line : TreeSnapshot::lines(m_destination)) {
        const bool file = line.find(" -> ") == std::string::npos && !line.ends_with("/");
        text += (file ? line.substr(0, line.rfind(' ')) : line) + "\n";
    }
    return text;
}

std::map<std::string, LibraryBackup::Stamp> LibraryBackup::stamps() const {
    std::map<std::string, Stamp> stamps;
    const auto add = [&](const std::string& relative) {
        const fs::path path = m_destination / relative;
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0)
            throw std::runtime_error("cannot read " + path.string());
        stamps[relative] = {status.st_ino, fs::last_write_time(path)};
    };
    for (const auto& [id, entry] : BackupIndex::load(m_destination).assets) {
        for (const IndexedFile& file : entry.files) {
            add(file.relativePath);
            if (file.xmpPath)
                add(*file.xmpPath);
        }
    }
    return stamps;
}

} // namespace lorekeep::test
