#pragma once

#include "../LibraryWatcher.h"

#include <QFileSystemWatcher>
#include <QHash>

#include <sys/types.h>

namespace lorekeep::app {

/// Watches a Photos library package's database (database/Photos.sqlite and its write-ahead log) through the file
/// system. SQLite and Photos replace these files, and a watch on a replaced file goes silent: the database folder
/// is watched too, and a file that appeared or was replaced is watched again under its new identity. Files that
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
    // Watches each database file under its current identity; true when one appeared, went or was replaced.
    bool refresh();

    QString m_folder;
    QStringList m_files;
    std::function<void()> m_onChange;
    QFileSystemWatcher m_watcher;
    QHash<QString, Identity> m_identities;
};

} // namespace lorekeep::app
