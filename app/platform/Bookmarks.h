#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace lorekeep::app {

/// A folder bookmark resolved back to a path; `stale` asks for a new bookmark to be made.
struct ResolvedBookmark {
    QString path;
    bool stale = false;

    friend bool operator==(const ResolvedBookmark&, const ResolvedBookmark&) = default;
};

/// Bookmark data of a folder the user chose (macOS: NSURL bookmark data). Linux has none: absent.
[[nodiscard]] std::optional<QByteArray> makeBookmark(const QString& folderPath);

/// The bookmark resolved to a path, or absent when it cannot be resolved (the job then uses its stored path).
[[nodiscard]] std::optional<ResolvedBookmark> resolveBookmark(const QByteArray& bookmark);

} // namespace lorekeep::app
