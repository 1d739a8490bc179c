#include "run/BackupRunner.h"

#include "albums/AlbumLinker.h"
#include "destination/DestinationWatch.h"
#include "destination/Layout.h"
#include "destination/Leftovers.h"
#include "destination/Preflight.h"
#include "destination/Trash.h"
#include "index/IndexLookup.h"
#include "library/ScopeQuery.h"
#include "run/AssetStep.h"
#include "run/BackupError.h"
#include "run/ChangeTracker.h"
#include "run/FailedAssets.h"
#include "run/RunState.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace lorekeep {
namespace {

/// Only asked whether it holds an identifier, once per asset of a large library.
using IdentifierSet = std::unordered_set<std::string>;

void append(std::vector<std::string>& lines, std::vector<std::string> more) {
    lines.insert(lines.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// An asset of the walk, with what the look ahead learnt of it.
struct AssetAhead {
    Asset asset;
    /// The asset's entry, when the look ahead met the asset in the index already (a full rescan's lookup); an
    /// entry found missing is looked for again, in case the walk added it meanwhile.
    const IndexedAsset* entry = nullptr;
};

/// Reads the assets of a walk a little ahead of it and tells the library which of them will be exported, so that
/// it can get those ready while the walk is busy with the ones before.
class Lookahead {
public:
    /// How far ahead the walk is read; the library is told again each time the lead has halved.
    static constexpr std::size_t distance = 64;

    /// `exported` says whether the walk will export an asset, and may note its entry.
    Lookahead(const AssetList& list, PhotoLibrary& library, std::function<bool(AssetAhead&)> exported)
        : m_list(list), m_library(library), m_exported(std::move(exported)) {}

    /// The asset at `position`; positions are asked for in order, from 0.
    AssetAhead at(std::size_t position) {
        if (!m_failed && m_read < m_list.count() && m_read < position + distance / 2) {
            std::vector<std::string> coming;
            for (const std::size_t end = std::min(m_list.count(), position + distance); m_read < end; ++m_read) {
                try {
                    m_ahead.push_back({m_list.at(m_read)});
                } catch (const std::exception&) {
                    // The walk meets the failure when it gets there.
                    m_failed = true;
                    break;
                }
                if (m_exported(m_ahead.back()))
                    coming.push_back(m_ahead.back().asset.localIdentifier);
            }
            if (!coming.empty())
                m_library.willExport(coming);
        }
        if (m_ahead.empty()) {
            m_read = std::max(m_read, position + 1);
            return {m_list.at(position)};
        }
        AssetAhead next = std::move(m_ahead.front());
        m_ahead.pop_front();
        return next;
    }

private:
    const AssetList& m_list;
    PhotoLibrary& m_library;
    std::function<bool(AssetAhead&)> m_exported;
    std::deque<AssetAhead> m_ahead;
    /// Positions read so far.
    std::size_t m_read = 0;
    bool m_failed = false;
};

/// A missing or damaged index is no reason to stop: the run starts over from an empty one and exports everything
/// again, which rewrites files in place.
BackupIndex loadOrEmpty(const std::filesystem::path& root, std::optional<BackupIndex::StoredFile>& stored) {
    try {
        return BackupIndex::load(root, stored);
    } catch (const std::exception&) {
        stored.reset();
        return {};
    }
}

/// The state a run starts from: the index, with the paths of older layouts moved into place, and its totals.
RunState loadState(const std::filesystem::path& root, Date start) {
    std::optional<BackupIndex::StoredFile> stored;
    RunState state(loadOrEmpty(root, stored), start);
    bool migrated = false;
    append(state.warnings, Layout::migrate(state.index, root, &migrated));
    if (!migrated)
        state.stored = stored;
    return state;
}

/// Saves the index. A run that changed no entry (the common run: nothing happened in the library) writes only what
/// follows the assets, when the file it loaded is still there as it was.
void writeIndex(const BackupIndex& index, const std::filesystem::path& root,
                const std::optional<BackupIndex::StoredFile>& stored) {
    if (!(stored && index.saveKeepingAssets(root, *stored)))
        index.save(root);
}

bool isThere(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

/// One run of the runner: the state of the steps between preflight and summary.
class Run {
public:
    Run(PhotoLibrary& library, const BackupRunner::Clock& clock, const BackupScope& scope,
        const std::filesystem::path& root, const BackupRunner::ProgressCallback& progress, StopToken stop)
        : m_library(library), m_clock(clock), m_scope(scope), m_root(root), m_progress(progress),
          m_stop(std::move(stop)), m_watch(root),
          m_loading(std::async(std::launch::async, [&root, start = clock()] { return loadState(root, start); })),
          m_state({}, clock()), m_failedBefore(FailedAssets::load(root)), m_failed(m_failedBefore),
          m_albumsOwed(isThere(root / BackupRunner::albumsPendingPath)),
          m_killedBefore(isThere(root / BackupRunner::runActivePath)) {}

    BackupSummary perform(const BackupRunner::SharedFilterSource& sharedFilter);

private:
    void clearLeftovers();
    /// `entry`: the asset's entry when the walk met it in a full rescan's lookup already.
    void handle(const AssetStep& step, const Asset& asset, const IndexedAsset* entry = nullptr);
    /// After an asset failed: stops the run when the destination as a whole is full or gone.
    void lookForFault();
    /// Ends a run that hit a destination fault: saves what can be saved, then throws the fault's error.
    [[noreturn]] void endWithFault();
    /// Inside a handler of a failed write: throws the destination's fault when there is one, else rethrows.
    [[noreturn]] void throwFault(const std::exception& error) const;
    void decideFilter(const BackupRunner::SharedFilterSource& source);
    void chooseMode();
    void walk();
    void removeLeavers();
    void finishIndex();
    void updateAlbums();
    bool albumsNeeded() const;
    /// The links of the album step: for the scope's albums, or all of them; left unmade when their fingerprint is
    /// `known`.
    DesiredLinks desiredLinks(std::string_view known);
    AlbumFilter albumFilter() const;
    bool changedIndex() const { return m_state.progress.copied > 0 || m_state.progress.removed > 0; }
    /// Saves the index, on a thread of its own when `meanwhile` (the album step's walk through the library, which
    /// only reads the index, goes on in the meantime); waitForSave() then reports how the save went.
    void saveIndex(bool albumsOwed, bool meanwhile = false);
    void waitForSave();

    bool stopRequested() {
        if (m_stop.stopRequested())
            m_cancelled = true;
        return m_cancelled || m_fault != DestinationWatch::Fault::none;
    }
    void report() const {
        if (m_progress)
            m_progress(m_state.progress);
    }

    PhotoLibrary& m_library;
    const BackupRunner::Clock& m_clock;
    const BackupScope& m_scope;
    const std::filesystem::path& m_root;
    const BackupRunner::ProgressCallback& m_progress;
    StopToken m_stop;
    DestinationWatch m_watch;

    /// The index and what is made from it first, while the run asks the library for its token, the shared-library
    /// filter and the assets of the scope.
    std::future<RunState> m_loading;
    RunState m_state;
    std::optional<ChangeToken> m_token;
    SharedFilterState m_filterState;
    std::optional<SharedLibraryFilter> m_exclusion;
    std::string m_scopeKey;
    /// Set for an incremental run: what changed since the stored token.
    std::optional<ChangeSet> m_changes;
    AssetList m_work;
    /// Every asset of the scope, read before the mode was chosen.
    std::optional<AssetList> m_everything;
    /// For a full rescan: the index's entries by identifier, made at the start of the walk and kept up to date
    /// with the removals; it knows which entries the walk met.
    std::optional<IndexLookup> m_entries;
    /// Identifiers met in an incremental walk, excluded ones left out.
    IdentifierSet m_seen;
    bool m_cancelled = false;
    DestinationWatch::Fault m_fault = DestinationWatch::Fault::none;
    /// Assets that earlier runs failed, as recorded at the start, and as this run leaves them.
    FailedAssets m_failedBefore;
    FailedAssets m_failed;
    /// Assets this run failed.
    FailedAssets m_failedNow;
    std::int64_t m_retried = 0;
    /// An earlier run changed the index but did not get through its album step.
    bool m_albumsOwed = false;
    /// An earlier run was killed: its temporary files may be anywhere in "By Date".
    bool m_killedBefore = false;
    std::optional<AlbumResult> m_albums;
    /// The save of the index under way, while the album step reads the library.
    std::future<void> m_saving;
    /// For a full rescan, which always ends with the album step: the library's albums, read while the walk goes
    /// through the assets.
    std::future<AlbumTree> m_albumTree;
};

BackupSummary Run::perform(const BackupRunner::SharedFilterSource& sharedFilter) {
    // Taken before any asset is read, so that whatever changes while the run goes on is seen by the next one.
    try {
        m_token = m_library.currentChangeToken();
    } catch (const std::exception&) {
        // Without a token the next run simply does a full rescan.
    }
    decideFilter(sharedFilter);
    // What a full rescan walks through. Whether the run is one is known once the index is read, and asking takes
    // less time than reading a large index: an incremental run loses nothing by the question asked in vain.
    try {
        m_everything = ScopeQuery{m_scope}.assets(m_library);
    } catch (const std::exception&) {
        // Asked again when a full rescan needs it, and reported then.
    }

    m_state = m_loading.get();
    report();
    chooseMode();
    // Not for a first backup, whose walk copies everything: the tree would only take room the whole time.
    if (!m_changes && !m_state.index.assets.empty()) {
        m_albumTree = std::async(std::launch::async,
                                 [this, filter = albumFilter()] { return AlbumTree::read(m_library, filter); });
    }
    clearLeftovers();
    walk();
    if (m_fault != DestinationWatch::Fault::none)
        endWithFault();
    if (!stopRequested())
        removeLeavers();
    // The album step of a large library needs the memory the walk's lists held.
    IdentifierSet().swap(m_seen);
    m_work = AssetList();
    finishIndex();
    if (!stopRequested())
        updateAlbums();
    waitForSave();
    std::error_code ignored;
    std::filesystem::remove(m_root / BackupRunner::runActivePath, ignored);

    return BackupSummary{
        .progress = m_state.progress,
        .cancelled = m_cancelled,
        .incremental = m_changes.has_value(),
        .retried = m_retried,
        .lastSuccessfulRun = m_state.index.lastSuccessfulRun,
        .albums = std::move(m_albums),
        .sharedFilter = m_filterState,
        .errors = std::move(m_state.errors),
        .warnings = std::move(m_state.warnings),
    };
}

void Run::decideFilter(const BackupRunner::SharedFilterSource& source) {
    if (m_scope.includeSharedLibrary) {
        m_filterState = SharedFilterState::included();
    } else {
        try {
            SharedFilterOutcome outcome = source();
            m_filterState = std::move(outcome.state);
            m_exclusion = std::move(outcome.filter);
        } catch (const std::exception& error) {
            m_filterState = SharedFilterState::unavailable(error.what());
        }
    }
    // A filter switched on or off changes what the destination should hold, just like a change of the scope.
    m_scopeKey = m_scope.scopeKey() + ";shared=" + (m_exclusion ? "true" : "false");
}

void Run::chooseMode() {
    const BackupIndex& index = m_state.index;
    if (index.scopeKey == m_scopeKey && index.changeToken) {
        if (const auto stored = ChangeTracker::tokenFromText(m_library, *index.changeToken)) {
            try {
                m_changes = ChangeTracker::changesSince(m_library, *stored);
            } catch (const std::exception&) {
                // History that cannot be read for the token means a full rescan, nothing to report.
            }
        }
    }
    const ScopeQuery query{m_scope};
    if (m_changes) {
        // Assets that failed before are tried again whether or not the library changed them since; if they do not
        // come back from the scope's fetch, they left it, just as changed ones do.
        m_changes->changed.insert(m_failedBefore.identifiers().begin(), m_failedBefore.identifiers().end());
        m_work = query.assets(m_library, {m_changes->changed.begin(), m_changes->changed.end()});
    } else {
        m_work = m_everything ? std::move(*m_everything) : query.assets(m_library);
    }
    m_everything.reset();
    m_state.progress.total = static_cast<std::int64_t>(m_work.count());
}

void Run::clearLeftovers() {
    // Temporary files in "By Date" come only from runs that were killed, which leave the marker behind: sweeping
    // costs a walk of the whole tree, so a run that ended is not followed by one.
    Leftovers::clear(m_root, m_killedBefore);
    std::error_code ignored;
    std::filesystem::create_directories(m_root / Layout::engineFolder, ignored);
    std::ofstream(m_root / BackupRunner::runActivePath).close();
}

void Run::handle(const AssetStep& step, const Asset& asset, const IndexedAsset* entry) {
    const std::string& id = asset.localIdentifier;
    const bool retry = m_failedBefore.contains(id);
    if (retry)
        m_retried += 1;
    // An asset that failed before is looked at as a rescan would: its entry may be older than its files.
    const bool fullRescan = !m_changes || retry;
    AssetStep::Outcome outcome;
    if (m_entries) {
        outcome = step.handle(asset, m_state, fullRescan, entry ? entry : m_entries->meet(id));
    } else {
        m_seen.insert(id);
        outcome = step.handle(asset, m_state, fullRescan);
    }
    if (outcome == AssetStep::Outcome::failed) {
        m_failed.add(id);
        m_failedNow.add(id);
        lookForFault();
    } else {
        m_failed.remove(id);
    }
}

void Run::lookForFault() {
    const std::string lastError = m_state.errors.empty() ? std::string() : m_state.errors.back();
    m_fault = m_watch.check(lastError);
    // The run's one error says it for this asset and every one after it.
    if (m_fault != DestinationWatch::Fault::none && !m_state.errors.empty())
        m_state.errors.pop_back();
}

void Run::endWithFault() {
    if (m_fault == DestinationWatch::Fault::gone)
        throw BackupError::destinationLost(m_root.string());
    // The index keeps its old token, as after a stop, so the next run sees the same changes again; what this one
    // copied is held, so it is not copied twice. Saving may fail for want of room: the last save stays.
    try {
        m_failed.save(m_root);
        saveIndex(changedIndex());
    } catch (const std::exception&) {
    }
    throw BackupError::destinationFull(m_root.string());
}

void Run::walk() {
    const AssetStep step(m_library, m_root, m_clock, &m_watch);
    const bool fullRescan = !m_changes;
    const std::size_t count = m_work.count();
    // A full rescan looks up every entry of the index, and learns from the lookup which ones it did not meet; an
    // incremental walk looks up a few.
    if (fullRescan)
        m_entries.emplace(m_state.index);
    else
        m_seen.reserve(count);
    Lookahead lookahead(m_work, m_library, [this](AssetAhead& ahead) {
        const Asset& asset = ahead.asset;
        if (m_exclusion && m_exclusion->contains(asset.localIdentifier))
            return false;
        // A full rescan meets the asset here, once: its lookups are most of what a rescan with no change does. The
        // meetings count only once the walk went through (they tell which entries left the library).
        const IndexedAsset* entry =
            m_entries ? m_entries->meet(asset.localIdentifier) : m_state.index.find(asset.localIdentifier);
        if (m_entries)
            ahead.entry = entry;
        return !entry || !AssetStep::isUnchanged(*entry, asset);
    });
    for (std::size_t position = 0; position < count; ++position) {
        if (stopRequested())
            return;
        const AssetAhead ahead = lookahead.at(position);
        const Asset& asset = ahead.asset;
        if (m_exclusion && m_exclusion->contains(asset.localIdentifier)) {
            m_state.progress.excluded += 1;
            m_failed.remove(asset.localIdentifier);
        } else {
            handle(step, asset, ahead.entry);
        }
        if (m_fault != DestinationWatch::Fault::none)
            return;
        m_state.progress.done = static_cast<std::int64_t>(position) + 1;
        report();
        const Date now = m_clock();
        if (now.referenceSeconds() - m_state.lastSave.referenceSeconds() >= BackupRunner::saveInterval) {
            saveIndex(changedIndex());
            m_state.lastSave = now;
        }
    }
}

void Run::removeLeavers() {
    std::vector<std::string> leavers;
    if (m_changes) {
        // Changed assets that did not come back from the scope's fetch left the scope (or are excluded now).
        for (const std::string& id : m_changes->changed) {
            if (!m_seen.contains(id))
                leavers.push_back(id);
        }
        leavers.insert(leavers.end(), m_changes->deleted.begin(), m_changes->deleted.end());
    } else {
        // Entries added during the walk were met in it.
        leavers = m_entries->unmet();
    }
    for (const std::string& id : leavers) {
        m_failed.remove(id);
        if (m_entries)
            m_entries->forget(id);
        const std::optional<IndexedAsset> entry = m_state.drop(id);
        if (!entry)
            continue;
        std::vector<std::string> refused = Trash::move(entry->files, {}, m_root, m_clock());
        // An entry whose paths were refused as unsafe was not moved anywhere: it is a warning, not a removal.
        if (refused.empty())
            m_state.progress.removed += 1;
        append(m_state.warnings, std::move(refused));
    }
}

void Run::finishIndex() {
    BackupIndex& index = m_state.index;
    // A cancelled run keeps the old token and scope key: the next run looks at the same changes again, or does
    // the full rescan this one did not finish.
    if (!m_cancelled) {
        index.changeToken = m_token ? std::optional(ChangeTracker::tokenText(*m_token)) : std::nullopt;
        index.scopeKey = m_scopeKey;
        index.lastSuccessfulRun = m_clock();
    }
    // A full rescan that went through met every asset of the scope: what it did not fail is not failed any more.
    if (!m_changes && !m_cancelled)
        m_failed = m_failedNow;
    // Written before the index that takes the new token: a run killed in between tries a few assets once more.
    try {
        m_failed.save(m_root);
    } catch (const std::exception& error) {
        throwFault(error);
    }
    // After a cancelled run the old token shows album changes again, but not the assets this one copied.
    const bool albumStep = !m_cancelled && albumsNeeded();
    saveIndex(m_cancelled ? changedIndex() : albumStep, albumStep && !stopRequested());
    m_state.lastSave = m_clock();
}

void Run::saveIndex(bool albumsOwed, bool meanwhile) {
    // Below an unmounted share is the machine's own disk.
    if (m_watch.gone())
        throw BackupError::destinationLost(m_root.string());
    // The marker goes down before the index that needs new album folders, and stays until an album step has been
    // through: a run that is killed or cancelled after this point leaves a next run that may find nothing to copy,
    // but must still bring the album folders up to date.
    if (albumsOwed && !m_albumsOwed) {
        std::error_code ignored;
        std::filesystem::create_directories(m_root / Layout::engineFolder, ignored);
        std::ofstream(m_root / BackupRunner::albumsPendingPath).close();
        m_albumsOwed = true;
    }
    if (meanwhile) {
        // Nothing changes the index until the save has been waited for.
        m_saving = std::async(std::launch::async, [this, stored = std::exchange(m_state.stored, std::nullopt)] {
            writeIndex(m_state.index, m_root, stored);
        });
        return;
    }
    try {
        writeIndex(m_state.index, m_root, std::exchange(m_state.stored, std::nullopt));
    } catch (const std::exception& error) {
        throwFault(error);
    }
}

void Run::waitForSave() {
    if (!m_saving.valid())
        return;
    try {
        m_saving.get();
    } catch (const std::exception& error) {
        throwFault(error);
    }
}

void Run::throwFault(const std::exception& error) const {
    switch (m_watch.check(error.what())) {
    case DestinationWatch::Fault::gone:
        throw BackupError::destinationLost(m_root.string());
    case DestinationWatch::Fault::full:
        throw BackupError::destinationFull(m_root.string());
    case DestinationWatch::Fault::none:
        break;
    }
    throw;
}

AlbumFilter Run::albumFilter() const {
    AlbumFilter filter;
    if (m_scope.albumIDs)
        filter.emplace(m_scope.albumIDs->begin(), m_scope.albumIDs->end());
    return filter;
}

DesiredLinks Run::desiredLinks(std::string_view known) {
    if (m_albumTree.valid() && m_entries)
        return DesiredLinks::compute(m_albumTree.get(), *m_entries, known);
    return m_entries ? DesiredLinks::compute(m_library, *m_entries, albumFilter(), known)
                     : DesiredLinks::compute(m_library, m_state.index, albumFilter(), known);
}

bool Run::albumsNeeded() const {
    if (!m_changes || m_changes->albumsChanged || m_albumsOwed)
        return true;
    if (changedIndex())
        return true;
    return !isThere(m_root / Layout::byAlbum);
}

void Run::updateAlbums() {
    if (!albumsNeeded())
        return;
    // The walk through the library goes on while the index is saved; the album step shows, and the folders
    // change, only once it is.
    std::optional<AlbumLinker> linker;
    std::optional<DesiredLinks> desired;
    try {
        linker.emplace(m_root);
        // A full rescan cannot tell from the library's history whether an album changed: the fingerprint of what
        // the links are made from tells whether the folders already hold them.
        desired = desiredLinks(linker->fingerprint());
    } catch (const std::exception& error) {
        waitForSave();
        if (m_watch.gone())
            throw BackupError::destinationLost(m_root.string());
        m_state.warnings.push_back(std::string("Album folders: ") + error.what());
        return;
    }
    waitForSave();
    m_state.progress.updatingAlbums = true;
    report();
    try {
        if (desired->unchanged) {
            append(m_state.warnings, std::move(desired->warnings));
            std::error_code ignored;
            std::filesystem::remove(m_root / BackupRunner::albumsPendingPath, ignored);
            return;
        }
        AlbumResult result = linker->link(std::move(*desired), [&](std::int64_t done, std::int64_t total) {
            m_state.progress.albumDone = done;
            m_state.progress.albumTotal = total;
            report();
        });
        append(m_state.warnings, result.warnings);
        m_albums = std::move(result);
        std::error_code ignored;
        std::filesystem::remove(m_root / BackupRunner::albumsPendingPath, ignored);
    } catch (const std::exception& error) {
        if (m_watch.gone())
            throw BackupError::destinationLost(m_root.string());
        m_state.warnings.push_back(std::string("Album folders: ") + error.what());
    }
}

} // namespace

BackupRunner::BackupRunner(PhotoLibrary& library, SharedFilterSource sharedFilter, Clock clock)
    : m_library(library), m_sharedFilter(std::move(sharedFilter)), m_clock(std::move(clock)) {}

BackupRunner::SharedFilterSource BackupRunner::defaultSharedFilter() {
    return [] { return SharedLibraryFilter::loadState(); };
}

BackupSummary BackupRunner::run(const BackupScope& scope, const std::filesystem::path& root,
                                const ProgressCallback& progress, StopToken stop) {
    Preflight::check(root);
    Run run(m_library, m_clock, scope, root, progress, std::move(stop));
    return run.perform(m_sharedFilter);
}

} // namespace lorekeep
