#include "../Bookmarks.h"
#include "FolderBookmarks.h"

#include <QByteArray>
#include <QString>

namespace lorekeep::app {

std::optional<QByteArray> makeBookmark(const QString& folderPath) {
    const auto bookmark = makeFolderBookmark(folderPath.toStdString());
    if (!bookmark)
        return std::nullopt;
    return QByteArray(reinterpret_cast<const char*>(bookmark->data()), static_cast<qsizetype>(bookmark->size()));
}

std::optional<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(bookmark.constData());
    const auto folder = resolveFolderBookmark(std::vector<std::uint8_t>(bytes, bytes + bookmark.size()));
    if (!folder)
        return std::nullopt;
    return ResolvedBookmark{QString::fromStdString(folder->path), folder->stale};
}

} // namespace lorekeep::app
