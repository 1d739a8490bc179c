#include "SettingsWindow.h"

#include "AboutTab.h"
#include "ActivityTab.h"
#include "GeneralTab.h"
#include "PrivacyTab.h"
#include "Symbols.h"

#include <QTabWidget>
#include <QVBoxLayout>

namespace lorekeep::ui {

SettingsWindow::SettingsWindow(app::AppState& state, Updater& updater, QWidget* parent)
    : QWidget(parent, Qt::Window), m_tabs(new QTabWidget(this)), m_general(new GeneralTab(state, updater, m_tabs)),
      m_privacy(new PrivacyTab(state, m_tabs)), m_activity(new ActivityTab(state, m_tabs)) {
    setWindowTitle(QStringLiteral("Lorekeep Settings"));
    setObjectName(QStringLiteral("settingsWindow"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 10, 8, 8);
    m_tabs->setDocumentMode(true);
    m_tabs->setIconSize(QSize(16, 16));
    const QColor ink = palette().color(QPalette::WindowText);
    m_tabs->addTab(m_general, symbolIcon(QStringLiteral("gearshape"), ink), QStringLiteral("General"));
    m_tabs->addTab(m_privacy, symbolIcon(QStringLiteral("hand.raised"), ink), QStringLiteral("Privacy"));
    m_tabs->addTab(m_activity, symbolIcon(QStringLiteral("list.bullet.rectangle"), ink), QStringLiteral("Activity"));
    m_tabs->addTab(new AboutTab(updater, m_tabs), symbolIcon(QStringLiteral("info.circle"), ink),
                   QStringLiteral("About"));
    layout->addWidget(m_tabs);
    resize(640, 720);
    setMinimumSize(560, 480);

    connect(m_general, &GeneralTab::addJobRequested, this, &SettingsWindow::addJobRequested);
    connect(m_general, &GeneralTab::editJobRequested, this, &SettingsWindow::editJobRequested);
    connect(m_general, &GeneralTab::setupGuideRequested, this, &SettingsWindow::setupGuideRequested);
}

void SettingsWindow::showTab(Tab tab) {
    m_tabs->setCurrentIndex(int(tab));
}

SettingsWindow::Tab SettingsWindow::currentTab() const {
    return Tab(m_tabs->currentIndex());
}

} // namespace lorekeep::ui
