#include "ui/Windows.h"
#include "ui/GeneralTab.h"
#include "ui/JobEditor.h"
#include "ui/MenuBarPanel.h"
#include "ui/Onboarding.h"
#include "ui/UiFixture.h"
#include "ui/Updater.h"

#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

namespace lorekeep::ui::test {
namespace {

QPushButton* button(const QWidget& root, const QString& text) {
    for (auto* candidate : root.findChildren<QPushButton*>())
        if (candidate->text() == text)
            return candidate;
    return nullptr;
}

using WindowsOfTheApp = UiFixture;

TEST_F(WindowsOfTheApp, openOnceAndLeadFromThePanelToSettingsAndFromThereToTheEditorAndTheGuide) {
    auto& state = makeState();
    const auto job = addJob("Zeus", "Zeus");
    NoUpdater updater("elsewhere");
    Windows windows(state, updater);
    MenuBarPanel panel(state);
    windows.connectPanel(panel);

    for (auto* candidate : panel.findChildren<QToolButton*>())
        if (candidate->text() == "Settings")
            candidate->click();
    ASSERT_NE(windows.settingsWindow(), nullptr);
    EXPECT_TRUE(windows.settingsWindow()->isVisible());
    EXPECT_EQ(&windows.showSettings(), windows.settingsWindow()) << "one settings window, shown again";

    button(*windows.settingsWindow(), "Add Job")->click();
    ASSERT_NE(windows.jobEditor(), nullptr);
    EXPECT_TRUE(windows.jobEditor()->findChild<QLineEdit*>()->text().isEmpty()) << "a new job";
    windows.jobEditor()->close();

    button(*windows.settingsWindow(), "Edit…")->click();
    ASSERT_NE(windows.jobEditor(), nullptr);
    EXPECT_EQ(windows.jobEditor()->job().id, job.id);

    button(*windows.settingsWindow(), "Setup Guide…")->click();
    ASSERT_NE(windows.onboarding(), nullptr);
    EXPECT_TRUE(windows.onboarding()->isVisible());
}

} // namespace
} // namespace lorekeep::ui::test
