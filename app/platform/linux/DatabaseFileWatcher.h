#pragma once

#include "../LibraryWatcher.h"

#include <QFileSystemWatcher>
#include <QHash>

#include <sys/types.h>

namespace lorekeep::app {

/// Watches a Photos library package's database (database/Photos.sqlite and its write-ahead log) through the file
/// system. SQLite, Photos and copying tools replace these files, and a watch on a replaced file goes silent: the
/// folders above are watched too, and a file or folder that appeared or was replaced is watched again under its
/// new identity. Files that
/// readers create beside the database (the shared-memory index, journals) are not changes of the library.
class DatabaseFileWatcher final : public LibraryWatcher {
public:
    DatabaseFileWatcher(const QString& packagePath, std::function<void()> onChange);

    /// The files watched now (those that exist).
    [[nodiscard]] QStringList watchedFiles() const;

private:
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        friend bool operator==(const Identity&, const Identity&) = default;
    };

    void fileChanged(const QString& path);
    // Watches the package, its database folder and each database file under their current identities; true when
    // one of the files appeared, went or was replaced.
    bool refresh();
    // Watches `path` under its current identity; true when it appeared, went or was replaced since last seen.
    bool watch(const QString& path);

    QString m_package;
    QString m_folder;
    QStringList m_files;
    std::function<void()> m_onChange;
    QFileSystemWatcher m_watcher;
    QHash<QString, Identity> m_identities;
};

} // namespace lorekeep::app
