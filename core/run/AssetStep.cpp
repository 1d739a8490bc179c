#include "run/AssetStep.h"

#include "base/SafeFolders.h"
#include "destination/DestinationWatch.h"
#include "destination/Trash.h"
#include "export/AssetMeta.h"
#include "library/FilePlan.h"
#include "run/AssetAttempt.h"

#include <cmath>

namespace lorekeep {
namespace {

bool isEdit(FileRole role) {
    return role == FileRole::edited || role == FileRole::editedLiveVideo;
}

void append(std::vector<std::string>& lines, std::vector<std::string> more) {
    lines.insert(lines.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

} // namespace

AssetStep::AssetStep(PhotoLibrary& library, std::filesystem::path root, std::function<Date()> now,
                     const DestinationWatch* watch)
    : m_library(library), m_root(std::move(root)), m_exporter(m_root, library), m_now(std::move(now)), m_watch(watch),
      m_folders(m_root) {}

bool AssetStep::isUnchanged(const IndexedAsset& entry, const Asset& asset) {
    if (!entry.modificationDate || !asset.modificationDate)
        return !entry.modificationDate && !asset.modificationDate;
    return std::abs(entry.modificationDate->referenceSeconds() - asset.modificationDate->referenceSeconds()) <
           dateTolerance;
}

bool AssetStep::filesPresent(const IndexedAsset& entry) const {
    for (const IndexedFile& file : entry.files) {
        if (!m_folders.exists(file.relativePath))
            return false;
    }
    return true;
}

AssetStep::Outcome AssetStep::handle(const Asset& asset, RunState& state, bool fullRescan) const {
    return handle(asset, state, fullRescan, state.index.find(asset.localIdentifier));
}

AssetStep::Outcome AssetStep::handle(const Asset& asset, RunState& state, bool fullRescan,
                                     const IndexedAsset* entry) const {
    if (entry && isUnchanged(*entry, asset) && (!fullRescan || filesPresent(*entry))) {
        state.progress.skipped += 1;
        return Outcome::skipped;
    }
    const Outcome outcome = copy(asset, state);
    // The export and the moves into "_deleted" changed folders that the presence test may have listed.
    m_folders.forgetListings();
    if (outcome == Outcome::copied)
        state.progress.copied += 1;
    else
        state.progress.failed += 1;
    return outcome;
}

AssetStep::Outcome AssetStep::copy(const Asset& asset, RunState& state) const {
    std::vector<AssetResource> resources;
    try {
        resources = m_library.resources(asset);
    } catch (const std::exception& error) {
        state.errors.push_back(asset.localIdentifier + ": " + error.what());
        return Outcome::failed;
    }
    const FilePlan::Plan plan = FilePlan::plan(asset, resources);
    const AssetMeta meta = AssetMeta::make(m_library, asset, resources);
    // Below a share that was unmounted is the machine's own disk: nothing may be written there. And the last few
    // free bytes are kept for the index, so that it can still record what the run did.
    if (m_watch && m_watch->check({}) != DestinationWatch::Fault::none) {
        state.errors.push_back(asset.localIdentifier + ": the destination is not available or full");
        return Outcome::failed;
    }

    AssetAttempt attempt(m_root);
    IndexedAsset next{.modificationDate = asset.modificationDate};
    for (const PlannedFile& file : plan.files) {
        AssetExporter::Placed placed;
        const ExportResult result = m_exporter.exportFile(file, meta, &placed);
        attempt.note(file, placed);
        if (result.sha256 && !result.error) {
            next.files.push_back({.role = result.role,
                                  .relativePath = result.relativePath,
                                  .sha256 = *result.sha256,
                                  .bytes = result.bytes.value_or(0),
                                  .xmpPath = result.xmpPath});
        } else if (isEdit(file.role)) {
            // An edit that cannot be had is not worth losing the asset over: the original is what matters.
            state.warnings.push_back(file.relativePath + ": edit not exported, original kept. " +
                                     result.error.value_or(""));
        } else {
            // The old entry stays as it is, and the files this attempt added go again: the index accounts for
            // everything under "By Date", and the next run tries the asset again.
            state.errors.push_back(file.relativePath + ": " + result.error.value_or("unknown error"));
            attempt.undo(state.index.find(asset.localIdentifier));
            return Outcome::failed;
        }
    }

    if (const IndexedAsset* old = state.index.find(asset.localIdentifier))
        append(state.warnings, Trash::move(old->files, next.files, m_root, m_now()));
    state.record(asset.localIdentifier, std::move(next));
    return Outcome::copied;
}

} // namespace lorekeep
