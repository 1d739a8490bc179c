#include "run/ChangeTracker.h"

#include "base/Base64.h"

namespace lorekeep::ChangeTracker {

ChangeSet changesSince(PhotoLibrary& library, const ChangeToken& token) {
    ChangeSet changes;
    for (const PersistentChange& change : library.persistentChanges(token)) {
        changes.changed.insert(change.assets.inserted.begin(), change.assets.inserted.end());
        changes.changed.insert(change.assets.updated.begin(), change.assets.updated.end());
        changes.deleted.insert(change.assets.deleted.begin(), change.assets.deleted.end());
        if (!change.albums.empty() || !change.folders.empty())
            changes.albumsChanged = true;
    }
    for (const auto& identifier : changes.deleted)
        changes.changed.erase(identifier);
    return changes;
}

std::string tokenText(const ChangeToken& token) {
    return base64::encode(token.archive);
}

std::optional<ChangeToken> tokenFromText(PhotoLibrary& library, std::string_view text) {
    const auto archive = base64::decode(text);
    if (!archive)
        return std::nullopt;
    try {
        return library.unarchiveToken(*archive);
    } catch (const LibraryError&) {
        return std::nullopt;
    }
}

} // namespace lorekeep::ChangeTracker
