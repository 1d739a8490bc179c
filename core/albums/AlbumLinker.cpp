#include "albums/AlbumLinker.h"

#include "albums/AlbumError.h"
#include "albums/LinkTree.h"
#include "base/AtomicFile.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

bool itemExists(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

} // namespace

AlbumLinker::AlbumLinker(fs::path destination, std::shared_ptr<AliasWriter> aliases)
    : m_destination(std::move(destination)), m_aliases(std::move(aliases)) {}

AlbumResult AlbumLinker::link(PhotoLibrary& library, const BackupIndex& index, const AlbumFilter& filter,
                              const Progress& progress) const {
    return link(DesiredLinks::compute(library, index, filter), progress);
}

AlbumResult AlbumLinker::link(DesiredLinks desired, const Progress& progress) const {
    // Gone before the tree changes, so that a pass that does not get through leaves no fingerprint of a tree that
    // is no longer there.
    const fs::path fingerprintFile = m_destination / fingerprintPath;
    std::error_code ignored;
    fs::remove(fingerprintFile, ignored);
    AlbumResult result = apply(linkTest(m_destination), desired.links, progress);
    // Links that could not be made are tried again by the next pass, which the fingerprint must not spare.
    if (!desired.fingerprint.empty() && writesLinks(result.mode) &&
        result.links == static_cast<std::int64_t>(desired.links.size()))
        AtomicFile::write(fingerprintFile, desired.fingerprint, AtomicFile::Durability::cached);
    result.warnings.insert(result.warnings.begin(), std::make_move_iterator(desired.warnings.begin()),
                           std::make_move_iterator(desired.warnings.end()));
    return result;
}

AlbumResult AlbumLinker::apply(LinkMode mode, const LinkSet& desired, const Progress& progress) const {
    const std::optional<LinkChanges> changes = AlbumManifest::changesTo(m_destination, desired);
    const bool incrementally = changes && canIncrement(changes->mode, mode);
    const LinkSet failed = incrementally ? incremental(*changes, mode, progress) : rebuild(mode, desired, progress);

    AlbumResult result{.mode = mode};
    if (!writesLinks(mode))
        result.warnings.emplace_back(cannotHoldLinksWarning);
    if (incrementally && failed.empty() && changes->empty()) {
        // Nothing changed: the manifest on disk already says what the tree holds.
        result.links = static_cast<std::int64_t>(desired.size());
        result.albums = DesiredLinks::folderCount(desired);
        return result;
    }
    AlbumManifest next{.mode = mode};
    for (const auto& [link, target] : desired) {
        if (!failed.contains(link))
            next.links.emplace_hint(next.links.end(), link, target);
    }
    next.save(m_destination);
    result.links = static_cast<std::int64_t>(next.links.size());
    result.albums = DesiredLinks::folderCount(next.links);
    return result;
}

std::string AlbumLinker::fingerprint() const {
    std::error_code error;
    if (fs::symlink_status(byAlbum(), error).type() != fs::file_type::directory ||
        !itemExists(byAlbum() / markerName) || !itemExists(AlbumManifest::location(m_destination)))
        return {};
    std::ifstream in(m_destination / fingerprintPath, std::ios::binary);
    std::string text;
    std::getline(in, text);
    return text;
}

LinkMode AlbumLinker::linkTest(const fs::path& destination) {
    const fs::path test = destination / linkTestPath;
    std::error_code ignored;
    fs::remove_all(test, ignored);
    const auto probe = [&] {
        std::error_code error;
        fs::create_directories(test / "a", error);
        if (!error)
            fs::create_directories(test / "b", error);
        if (error)
            return LinkMode::alias;
        const std::string written = "lorekeep";
        if (!(std::ofstream(test / "a" / "target", std::ios::binary) << written))
            return LinkMode::alias;
        fs::create_symlink("../a/target", test / "b" / "link", error);
        if (error)
            return LinkMode::alias;
        const fs::file_status status = fs::symlink_status(test / "b" / "link", error);
        if (error)
            return LinkMode::alias;
        std::ifstream in(test / "b" / "link", std::ios::binary);
        std::ostringstream read;
        read << in.rdbuf();
        return fs::is_symlink(status) && in && read.str() == written ? LinkMode::symlink : LinkMode::alias;
    };
    const LinkMode mode = probe();
    fs::remove_all(test, ignored);
    return mode;
}

bool AlbumLinker::canIncrement(LinkMode manifestMode, LinkMode mode) const {
    std::error_code error;
    // A "By Album" that is itself a symbolic link is never worked in: it would lead outside the destination.
    return manifestMode == mode && fs::symlink_status(byAlbum(), error).type() == fs::file_type::directory &&
           itemExists(byAlbum() / markerName);
}

LinkSet AlbumLinker::incremental(const LinkChanges& changes, LinkMode mode, const Progress& progress) const {
    const std::vector<std::string>& toRemove = changes.removed;
    const std::vector<LinkSet::const_iterator>& toAdd = changes.added;
    Ticker ticker = Ticker::hundredths(static_cast<std::int64_t>(toRemove.size() + toAdd.size()), progress);
    LinkTree tree(m_destination, byAlbum(), mode, *m_aliases);
    for (const std::string& link : toRemove) {
        tree.remove(link);
        ticker.tick();
    }
    LinkSet failed;
    const bool writes = writesLinks(mode);
    for (const auto& entry : toAdd) {
        if (!writes || !tree.add(entry->first, entry->second))
            failed.insert(*entry);
        ticker.tick();
    }
    tree.prune();
    return failed;
}

LinkSet AlbumLinker::rebuild(LinkMode mode, const LinkSet& desired, const Progress& progress) const {
    const fs::path staging = m_destination / stagingPath;
    std::error_code ignored;
    fs::remove_all(staging, ignored);
    fs::create_directories(staging);
    try {
        Ticker ticker = Ticker::hundredths(static_cast<std::int64_t>(desired.size()), progress);
        const bool writes = writesLinks(mode);
        const auto makeLinks = [&](LinkSet::const_iterator from, LinkSet::const_iterator to, auto&& tick) {
            LinkTree tree(m_destination, staging, mode, *m_aliases);
            LinkSet failed;
            for (; from != to; ++from) {
                if (!writes || !tree.add(from->first, from->second))
                    failed.insert(*from);
                tick();
            }
            return failed;
        };
        // A new tree of symbolic links is made by two threads, each in top-level folders of its own: most of the
        // time goes to the file system making each link, which it does for two folders at once.
        const auto half = splitAtTopFolder(desired);
        std::atomic<std::int64_t> helped = 0;
        std::future<LinkSet> helper;
        if (mode == LinkMode::symlink && half != desired.end())
            helper = std::async(std::launch::async, [&] {
                return makeLinks(half, desired.end(), [&] { helped.fetch_add(1, std::memory_order_relaxed); });
            });
        // Progress is reported from this thread only, for both.
        std::int64_t counted = 0;
        const auto countHelp = [&] {
            for (const std::int64_t done = helped.load(std::memory_order_relaxed); counted < done; ++counted)
                ticker.tick();
        };
        LinkSet failed = makeLinks(desired.begin(), helper.valid() ? half : desired.end(), [&] {
            ticker.tick();
            countHelp();
        });
        if (helper.valid()) {
            while (helper.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
                countHelp();
            failed.merge(helper.get());
            countHelp();
        }
        AtomicFile::write(staging / markerName, markerText);
        swapIn(staging);
        return failed;
    } catch (...) {
        fs::remove_all(staging, ignored);
        throw;
    }
}

LinkSet::const_iterator AlbumLinker::splitAtTopFolder(const LinkSet& links) {
    const auto topFolder = [](const std::string& link) { return std::string_view(link).substr(0, link.find('/')); };
    auto half = std::next(links.begin(), static_cast<std::ptrdiff_t>(links.size() / 2));
    if (half == links.begin())
        return links.end();
    const std::string_view before = topFolder(std::prev(half)->first);
    while (half != links.end() && topFolder(half->first) == before)
        ++half;
    return half;
}

void AlbumLinker::swapIn(const fs::path& staging) const {
    const fs::path target = byAlbum();
    if (!itemExists(target)) {
        fs::rename(staging, target);
        return;
    }
    if (!itemExists(target / markerName))
        throw AlbumError::foreignFolder(target.string());
    // Our old tree goes aside first and is removed only once the new one is in place, so a failed swap leaves the
    // old tree as it was.
    const fs::path old = m_destination / Layout::engineFolder / "albums-old";
    std::error_code ignored;
    fs::remove_all(old, ignored);
    fs::rename(target, old);
    try {
        fs::rename(staging, target);
    } catch (...) {
        fs::rename(old, target, ignored);
        throw;
    }
    fs::remove_all(old, ignored);
}

} // namespace lorekeep
