#pragma once

#include "library/PhotoLibrary.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace lorekeep {

/// What changed in the photo library since a change token.
struct ChangeSet {
    /// Local identifiers of assets inserted or updated since the token and not deleted afterwards.
    std::set<std::string> changed;
    /// Local identifiers of assets deleted since the token.
    std::set<std::string> deleted;
    /// An album or a folder of albums was inserted, updated or deleted since the token.
    bool albumsChanged = false;

    friend bool operator==(const ChangeSet&, const ChangeSet&) = default;
};

/// Reads the library's persistent change history, so that a run can look at the changed assets only. Every failure
/// here means a full rescan for the caller, never an error of the run.
namespace ChangeTracker {

/// The changes recorded after the token, folded into one set; an asset that was deleted counts only as deleted.
/// Throws the library's error (LibraryError) when the history cannot be read for the token, for example a token
/// that is too old or from another library.
[[nodiscard]] ChangeSet changesSince(PhotoLibrary& library, const ChangeToken& token);

/// The token as the backup index stores it: its archive in standard base64, on one line.
[[nodiscard]] std::string tokenText(const ChangeToken& token);
/// The token back from its stored text; nothing when the text is not canonical base64 or does not hold one of this
/// library's tokens.
[[nodiscard]] std::optional<ChangeToken> tokenFromText(PhotoLibrary& library, std::string_view text);

} // namespace ChangeTracker
} // namespace lorekeep
