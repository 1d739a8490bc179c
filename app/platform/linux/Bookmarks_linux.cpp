#include "../Bookmarks.h"

namespace lorekeep::app {

// Linux has no bookmarks of folders: jobs keep their destination's path.

std::optional<QByteArray> makeBookmark(const QString&) {
    return std::nullopt;
}

std::optional<ResolvedBookmark> resolveBookmark(const QByteArray&) {
    return std::nullopt;
}

} // namespace lorekeep::app
