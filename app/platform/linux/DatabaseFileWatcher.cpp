#include "DatabaseFileWatcher.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace lorekeep::app {

DatabaseFileWatcher::DatabaseFileWatcher(const QString& packagePath, std::function<void()> onChange)
    : m_folder(QDir(packagePath).filePath(QStringLiteral("database"))), m_onChange(std::move(onChange)) {
    const QDir folder(m_folder);
    m_files = {folder.filePath(QStringLiteral("Photos.sqlite")), folder.filePath(QStringLiteral("Photos.sqlite-wal"))};
    if (folder.exists())
        m_watcher.addPath(m_folder);
    refresh();
    QObject::connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_watcher,
                     [this](const QString& path) { fileChanged(path); });
    QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_watcher, [this](const QString&) {
        if (refresh())
            m_onChange();
    });
}

QStringList DatabaseFileWatcher::watchedFiles() const {
    return m_watcher.files();
}

void DatabaseFileWatcher::fileChanged(const QString& path) {
    // A write, or the file going away; either way the watch may now be on a dead inode.
    refresh();
    if (m_files.contains(path))
        m_onChange();
}

bool DatabaseFileWatcher::refresh() {
    bool changed = false;
    for (const QString& path : m_files) {
        struct stat info {};
        const bool exists = ::stat(QFile::encodeName(path).constData(), &info) == 0;
        const auto known = m_identities.constFind(path);
        if (!exists) {
            if (known == m_identities.cend())
                continue;
            m_identities.remove(path);
            m_watcher.removePath(path);
            changed = true;
            continue;
        }
        const Identity identity{info.st_dev, info.st_ino};
        if (known != m_identities.cend() && *known == identity && m_watcher.files().contains(path))
            continue;
        m_watcher.removePath(path);
        m_watcher.addPath(path);
        changed = changed || known == m_identities.cend() || *known != identity;
        m_identities.insert(path, identity);
    }
    return changed;
}

std::unique_ptr<LibraryWatcher> makeLibraryWatcher(const QString& packagePath, std::function<void()> onChange) {
    return std::make_unique<DatabaseFileWatcher>(packagePath, std::move(onChange));
}

} // namespace lorekeep::app
