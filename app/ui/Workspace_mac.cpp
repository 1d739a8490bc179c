#include "Updater.h"
#include "Workspace.h"

#include "mac/WorkspaceMac.h"

#include <QDesktopServices>

namespace lorekeep::ui {

QString fileManagerName() {
    return QStringLiteral("Finder");
}

void revealInFileManager(const QString& path) {
    mac::revealInFinder(path.toStdString());
}

bool hasSystemSettings() {
    return true;
}

bool openSystemSettings(const QString& address) {
    return mac::openAddress(address.toStdString());
}

void openWebPage(const QUrl& address) {
    QDesktopServices::openUrl(address);
}

std::unique_ptr<Updater> makeUpdater() {
    // This build has no updater of its own yet.
    return std::make_unique<NoUpdater>(QStringLiteral("New versions are published on lorekeep.app."));
}

} // namespace lorekeep::ui
