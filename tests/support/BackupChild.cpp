// A backup of a seeded library that dies at a chosen moment, for tests of what a destination looks like after a
// crash. Usage:
//
//   lorekeep_backup_child <destination> <seed> <assets> <round> <point> <n>
//
// Round 1 backs the seeded library up once. Round 2 backs it up completely, changes the library and backs it up
// again. Round 3 is round 2 with the album manifest lost before the second backup, so that the album folders are
// built anew and swapped in. Round 4 backs up completely, puts the destination into the older layout (files
// directly under the root) and backs up again, which moves them into "By Date". Round 5 backs up completely and
// then verifies the destination. The last backup or the verification of the round is killed (SIGKILL, as a crash
// or a force quit would) at the point:
//   none          it runs to the end
//   before-write  when the n-th resource write is about to start, the files before it all in place
//   mid-write     when the n-th resource write has written half of its bytes
//   index-save    when the n-th index save has written its temporary file, before it is moved into place
//   albums        after n link operations of the album step
//   trash         before the n-th move of a file into "_deleted"
//   album-swap    before the n-th rename of the album swap (1: the old tree goes aside, 2: the new one comes in)
//   migrate       before the n-th move of a file of the older layout into "By Date"
//   verify        after the verifier has checked n files
// The clock moves 61 seconds each time it is read, so the index is saved after every asset.

#include "albums/AlbumManifest.h"
#include "destination/Layout.h"
#include "index/BackupIndex.h"
#include "run/BackupRunner.h"
#include "support/SeededLibrary.h"
#include "verify/Verifier.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

using namespace lorekeep;

enum class Point { none, beforeWrite, midWrite, indexSave, albums, trash, albumSwap, migrate, verify };

bool g_armed = false;
Point g_point = Point::none;
int g_n = 0;
int g_renames = 0;

[[noreturn]] void die() {
    std::raise(SIGKILL);
    std::abort();
}

/// The seeded library, with resource writes that can die.
class DyingLibrary final : public PhotoLibrary {
public:
    explicit DyingLibrary(test::FakePhotoLibrary& library) : m_library(library) {}

    AssetList fetchAssets(const FetchOptions& options) override { return m_library.fetchAssets(options); }
    AssetList fetchAssets(const std::vector<std::string>& ids, const FetchOptions& options) override {
        return m_library.fetchAssets(ids, options);
    }
    AssetList fetchAssetsInAlbum(const std::string& album, const FetchOptions& options) override {
        return m_library.fetchAssetsInAlbum(album, options);
    }
    std::vector<Collection> topLevelCollections() override { return m_library.topLevelCollections(); }
    std::vector<Collection> childCollections(const std::string& folder) override {
        return m_library.childCollections(folder);
    }
    std::vector<Collection> albums(const std::vector<std::string>& ids) override { return m_library.albums(ids); }
    std::vector<Collection> albumsContaining(const std::string& asset) override {
        return m_library.albumsContaining(asset);
    }
    std::vector<AssetResource> resources(const Asset& asset) override { return m_library.resources(asset); }
    void writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                       bool networkAllowed) override {
        const bool last = g_armed && ++m_writes == g_n;
        if (last && g_point == Point::beforeWrite)
            die();
        m_library.writeResource(resource, destination, networkAllowed);
        if (last && g_point == Point::midWrite) {
            std::filesystem::resize_file(destination, std::filesystem::file_size(destination) / 2);
            die();
        }
    }
    void renderPhoto(const Asset& asset, const std::filesystem::path& destination) override {
        m_library.renderPhoto(asset, destination);
    }
    void renderVideo(const Asset& asset, const std::filesystem::path& destination) override {
        m_library.renderVideo(asset, destination);
    }
    ChangeToken currentChangeToken() override { return m_library.currentChangeToken(); }
    std::optional<ChangeToken> unarchiveToken(std::string_view archive) override {
        return m_library.unarchiveToken(archive);
    }
    std::vector<PersistentChange> persistentChanges(const ChangeToken& since) override {
        return m_library.persistentChanges(since);
    }

private:
    test::FakePhotoLibrary& m_library;
    int m_writes = 0;
};

std::optional<Point> pointFrom(std::string_view text) {
    if (text == "none")
        return Point::none;
    if (text == "before-write")
        return Point::beforeWrite;
    if (text == "mid-write")
        return Point::midWrite;
    if (text == "index-save")
        return Point::indexSave;
    if (text == "albums")
        return Point::albums;
    if (text == "trash")
        return Point::trash;
    if (text == "album-swap")
        return Point::albumSwap;
    if (text == "migrate")
        return Point::migrate;
    if (text == "verify")
        return Point::verify;
    return std::nullopt;
}

/// Whether a rename is one of those the armed point counts.
bool counts(std::string_view from, std::string_view to) {
    const auto inByDate = [](std::string_view path) { return path.find("/By Date/") != std::string_view::npos; };
    switch (g_point) {
    case Point::indexSave:
        return to.ends_with("/.lorekeep/index.json");
    case Point::trash:
        return to.find("/_deleted/") != std::string_view::npos;
    case Point::albumSwap:
        return (from.ends_with("/By Album") && to.ends_with("/.lorekeep/albums-old")) ||
               (from.ends_with("/.lorekeep/albums-staging") && to.ends_with("/By Album"));
    case Point::migrate:
        return !inByDate(from) && inByDate(to);
    default:
        return false;
    }
}

/// Moves every file of the index out of "By Date" to where older versions kept it, directly under the root.
void makeOlderLayout(const std::filesystem::path& root) {
    BackupIndex index = BackupIndex::load(root);
    const std::string prefix = std::string(Layout::byDate) + "/";
    const auto moveBack = [&](std::string& path) {
        const std::string older = path.substr(prefix.size());
        std::filesystem::create_directories((root / older).parent_path());
        // Files of a RAW + JPEG pair share their sidecar: it moves with the first of them.
        std::error_code sharedSidecar;
        std::filesystem::rename(root / path, root / older, sharedSidecar);
        path = older;
    };
    for (auto& [id, asset] : index.assets) {
        for (IndexedFile& file : asset.files) {
            moveBack(file.relativePath);
            if (file.xmpPath)
                moveBack(*file.xmpPath);
        }
    }
    index.save(root);
    std::filesystem::remove_all(root / Layout::byDate);
}

} // namespace

// Every index save ends in a rename onto ".lorekeep/index.json", and files move by renames; this definition takes
// the C library's place in this program only, so that the program can die just before one of them.
extern "C" int rename(const char* from, const char* to) noexcept {
    if (g_armed && counts(from, to) && ++g_renames == g_n)
        die();
    return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int main(int argc, char** argv) {
    if (argc != 7 || !pointFrom(argv[5])) {
        std::cerr << "usage: lorekeep_backup_child <destination> <seed> <assets> <round> <point> <n>\n";
        return 2;
    }
    const std::filesystem::path destination = argv[1];
    const auto seed = static_cast<unsigned>(std::stoul(argv[2]));
    const int assets = std::stoi(argv[3]);
    const int round = std::stoi(argv[4]);
    g_point = *pointFrom(argv[5]);
    g_n = std::stoi(argv[6]);

    test::FakePhotoLibrary fake;
    test::SeededLibrary::fill(fake, seed, assets);
    DyingLibrary library(fake);
    Date now = Date::fromUnixSeconds(1741341600);
    BackupRunner runner(
        library, [] { return SharedFilterOutcome{.state = SharedFilterState::needsAccess()}; },
        [&] { return now = now.addingSeconds(61); });
    const BackupScope scope;
    const auto progress = [](const BackupProgress& progress) {
        if (g_armed && g_point == Point::albums && progress.albumDone >= g_n)
            die();
    };

    try {
        if (round >= 2)
            (void)runner.run(scope, destination, progress);
        if (round == 2 || round == 3)
            test::SeededLibrary::change(fake, seed, assets);
        if (round == 3)
            std::filesystem::remove(AlbumManifest::location(destination));
        if (round == 4)
            makeOlderLayout(destination);
        g_armed = true;
        if (round == 5) {
            const VerifyResult result = Verifier([&] {
                                            return now = now.addingSeconds(61);
                                        }).verify(destination, 1'000'000, 1.0, [](const VerifyProgress& progress) {
                if (g_armed && g_point == Point::verify && progress.done >= g_n)
                    die();
            });
            return result.problems.empty() ? 0 : 1;
        }
        const BackupSummary summary = runner.run(scope, destination, progress);
        return summary.errors.empty() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
