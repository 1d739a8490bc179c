#include "Updater.h"
#include "Workspace.h"

#include <QDesktopServices>
#include <QFileInfo>

namespace lorekeep::ui {

QString fileManagerName() {
    return QStringLiteral("File Manager");
}

void revealInFileManager(const QString& path) {
    const QFileInfo info(path);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

bool hasSystemSettings() {
    return false;
}

bool openSystemSettings(const QString&) {
    return false;
}

void openWebPage(const QUrl& address) {
    QDesktopServices::openUrl(address);
}

std::unique_ptr<Updater> makeUpdater() {
    return std::make_unique<NoUpdater>(
        QStringLiteral("Lorekeep is updated by your package manager, with the rest of the system."));
}

} // namespace lorekeep::ui
