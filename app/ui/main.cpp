// Lorekeep: the tray application. Only wiring: the state, the tray icon with its panel, and the windows.
#include "InstanceChannel.h"
#include "MenuBarPanel.h"
#include "TrayController.h"
#include "Updater.h"
#include "Windows.h"

#include "AppState.h"

#include <QApplication>
#include <QIcon>

using namespace lorekeep;

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lorekeep"));
    QApplication::setApplicationVersion(QStringLiteral(LOREKEEP_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lorekeep"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/app/lorekeep.svg")));
    // Closing the settings window leaves the application running in the tray.
    QApplication::setQuitOnLastWindowClosed(false);

    const QString request = ui::requestFromArguments(QApplication::arguments());
    if (ui::InstanceChannel::sendToRunning(request))
        return 0;
    if (request == QLatin1String("quit"))
        return 0;

    app::AppState state(app::makeAppServices());
    auto updater = ui::makeUpdater();
    ui::Windows windows(state, *updater);
    ui::TrayController tray(state);
    windows.connectPanel(tray.panel());

    const auto handle = [&](const QString& what) {
        if (what == QLatin1String("settings"))
            windows.showSettings();
        else if (what == QLatin1String("panel") || (what.isEmpty() && !tray.inTray()))
            tray.showPanel();
        else if (what == QLatin1String("quit"))
            windows.quit();
        else if (what.isEmpty())
            windows.showSettings();
    };
    ui::InstanceChannel channel;
    QObject::connect(&channel, &ui::InstanceChannel::requested, &application, handle);
    channel.listen();

    state.start();
    if (!state.onboardingDone())
        windows.showOnboarding();
    if (!request.isEmpty())
        handle(request);
    return QApplication::exec();
}
