#include "run/RunState.h"

namespace lorekeep {
namespace {

std::int64_t bytesOf(const IndexedAsset& entry) {
    std::int64_t bytes = 0;
    for (const IndexedFile& file : entry.files)
        bytes += file.bytes;
    return bytes;
}

std::int64_t filesOf(const IndexedAsset& entry) {
    return static_cast<std::int64_t>(entry.files.size());
}

} // namespace

RunState::RunState(BackupIndex loaded, Date start) : index(std::move(loaded)), lastSave(start) {
    // One pass through a large index rather than one per total.
    for (const auto& [id, entry] : index.assets) {
        progress.filesBackedUp += filesOf(entry);
        progress.bytesBackedUp += bytesOf(entry);
    }
    progress.assetsBackedUp = static_cast<std::int64_t>(index.assets.size());
}

void RunState::record(const std::string& localIdentifier, IndexedAsset entry) {
    stored.reset();
    if (const IndexedAsset* old = index.find(localIdentifier)) {
        progress.filesBackedUp -= filesOf(*old);
        progress.bytesBackedUp -= bytesOf(*old);
    } else {
        progress.assetsBackedUp += 1;
    }
    progress.filesBackedUp += filesOf(entry);
    progress.bytesBackedUp += bytesOf(entry);
    index.set(localIdentifier, std::move(entry));
}

std::optional<IndexedAsset> RunState::drop(const std::string& localIdentifier) {
    stored.reset();
    const auto found = index.assets.find(localIdentifier);
    if (found == index.assets.end())
        return std::nullopt;
    IndexedAsset entry = std::move(found->second);
    index.assets.erase(found);
    progress.filesBackedUp -= filesOf(entry);
    progress.bytesBackedUp -= bytesOf(entry);
    progress.assetsBackedUp -= 1;
    return entry;
}

} // namespace lorekeep
