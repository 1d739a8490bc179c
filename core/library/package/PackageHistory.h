#pragma once

#include "library/PhotoLibrary.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

class PackageDatabase;

/// The library's persistent history (Core Data's ATRANSACTION and ACHANGE tables) as change tokens and changes.
/// A token is the store's UUID and the number of the last transaction seen, archived as the text
/// "photoslibrary-history:1:<store UUID>:<transaction>".
class PackageHistory {
public:
    explicit PackageHistory(std::shared_ptr<const PackageDatabase> database);

    [[nodiscard]] ChangeToken current() const;
    /// Nothing for bytes that are not a token of this store.
    [[nodiscard]] std::optional<ChangeToken> unarchive(std::string_view archive) const;
    /// One entry per transaction after the token that touched assets, albums or folders, oldest first. Throws
    /// LibraryError when the token is not this store's, or the history no longer reaches back to it.
    [[nodiscard]] std::vector<PersistentChange> changesSince(const ChangeToken& token) const;

private:
    [[nodiscard]] std::optional<std::int64_t> transactionOf(std::string_view archive) const;
    [[nodiscard]] std::string archive(std::int64_t transaction) const;

    std::shared_ptr<const PackageDatabase> m_database;
};

} // namespace lorekeep
