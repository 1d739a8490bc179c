#pragma once

#include <QWidget>

namespace lorekeep::ui {

class Updater;

/// The settings window's About tab: name, version, what it does, bug reports, updates and credits.
class AboutTab : public QWidget {
    Q_OBJECT
public:
    explicit AboutTab(Updater& updater, QWidget* parent = nullptr);
};

/// Tells the user about updates: checks when the build can, otherwise says where updates come from.
void checkForUpdates(Updater& updater, QWidget* parent);

} // namespace lorekeep::ui
