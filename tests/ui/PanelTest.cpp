#include "ui/MenuBarPanel.h"
#include "ui/Screenshot.h"
#include "ui/TrayController.h"
#include "ui/UiFixture.h"

#include <QLabel>
#include <QToolButton>

namespace lorekeep::ui::test {
namespace {

QStringList texts(const QWidget& root, const QString& objectName) {
    QStringList result;
    for (const auto* label : root.findChildren<QLabel*>(objectName))
        if (label->isVisibleTo(&root))
            result << label->text();
    return result;
}

QToolButton* button(const QWidget& root, const QString& text) {
    for (auto* candidate : root.findChildren<QToolButton*>())
        if (candidate->text() == text || candidate->accessibleName() == text)
            return candidate;
    return nullptr;
}

bool shows(const QWidget& root, const QString& text) {
    for (const auto* label : root.findChildren<QLabel*>())
        if (label->isVisibleTo(&root) && label->text() == text)
            return true;
    return false;
}

using Panel = UiFixture;

TEST_F(Panel, withoutJobsInvitesToAddOneAndCannotBackUp) {
    auto& state = makeState();
    inEachLook([&](Look look) {
        MenuBarPanel panel(state);
        panel.show();
        EXPECT_TRUE(shows(panel, "No backup jobs yet"));
        EXPECT_TRUE(shows(panel, "Add one in Settings."));
        auto* backUp = button(panel, "Back Up Now");
        ASSERT_NE(backUp, nullptr);
        EXPECT_FALSE(backUp->isEnabled());
        EXPECT_EQ(backUp->toolTip(), "Add a backup job in Settings first");
        EXPECT_FALSE(button(panel, "Stop")->isVisibleTo(&panel));
        saveScreenshot(panel, "panel-no-jobs", look);
    });
}

TEST_F(Panel, whileRunningShowsProgressOfTheRunningJobAndAStopButton) {
    auto& state = makeState();
    const auto zeus = addJob("Zeus", "Zeus/Photos");
    const auto usb = addJob("USB drive", "USB");

    JobView running{zeus, {}};
    running.runtime.status = app::BackupStatus::running(1500, 4000);
    running.runtime.progress.copied = 1234;
    running.runtime.progress.skipped = 266;
    JobView waiting{usb, {}};
    waiting.runtime.status = app::BackupStatus::upToDate();
    waiting.runtime.filesBackedUp = 8812;
    JobView noDestination{app::BackupJob::make("Archive"), {}};

    inEachLook([&](Look look) {
        MenuBarPanel panel(state);
        panel.setContent(panelContent({running, waiting, noDestination}, zeus.id, true, QLocale(QLocale::English)));
        panel.show();
        EXPECT_EQ(texts(panel, "statusText"), (QStringList{"Backing up 1,500 of 4,000", "Up to date", "Ready"}));
        EXPECT_EQ(texts(panel, "progressLine"),
                  (QStringList{"1,234 copied", "266 already backed up", "8,812 files", "0 files"}));
        EXPECT_TRUE(texts(panel, "destination").contains("Not set"));
        EXPECT_TRUE(button(panel, "Stop")->isVisibleTo(&panel));
        EXPECT_FALSE(button(panel, "Back Up Now")->isEnabled());
        saveScreenshot(panel, "panel-running", look);
    });
}

TEST_F(Panel, showsFailedAndPausedJobsAfterARealRun) {
    m_library->setWriteFailure("photo-2", ResourceType::photo, lorekeep::test::FakePhotoLibrary::WriteFailure::always);
    auto& state = makeState();
    const auto nas = addJob("Zeus", "Zeus");
    const auto away = addJob("USB drive", "Volumes/USB", false);
    runAll();

    EXPECT_EQ(state.runtime(nas.id).status.kind, app::BackupStatus::Kind::failed);
    EXPECT_EQ(state.runtime(away.id).status.kind, app::BackupStatus::Kind::paused);
    inEachLook([&](Look look) {
        MenuBarPanel panel(state);
        panel.show();
        const auto statuses = texts(panel, "statusText");
        ASSERT_EQ(statuses.size(), 2);
        EXPECT_TRUE(statuses[0].startsWith("Error: 1 items failed")) << statuses[0].toStdString();
        EXPECT_TRUE(statuses[1].startsWith("Paused: destination not available")) << statuses[1].toStdString();
        QStringList symbols;
        for (const auto* symbol : panel.findChildren<QLabel*>("statusSymbol"))
            symbols << symbol->property("symbol").toString();
        EXPECT_EQ(symbols, (QStringList{"exclamationmark.triangle", "pause.circle"}));
        EXPECT_TRUE(button(panel, "Back Up Now")->isEnabled());
        saveScreenshot(panel, "panel-problems", look);
    });

    // The tray icon stands for the worst of them.
    TrayController tray(state);
    EXPECT_EQ(tray.shownStatus(), StatusKind::failed);
}

TEST_F(Panel, backUpNowRunsTheJobsAndTheRowFollows) {
    auto& state = makeState();
    const auto job = addJob("Zeus", "Zeus");
    MenuBarPanel panel(state);
    panel.show();
    EXPECT_EQ(texts(panel, "statusText"), QStringList{"Ready"});

    button(panel, "Back Up Now")->click();
    EXPECT_TRUE(state.isRunning());
    ASSERT_TRUE(app::test::waitUntil([&] { return !state.isRunning(); }));
    // The panel rebuilds its rows from the event loop, a moment after the run's end reaches the state.
    app::test::waitUntil([&] { return texts(panel, "statusText") == QStringList{"Up to date"}; }, 5);
    EXPECT_EQ(texts(panel, "statusText"), QStringList{"Up to date"});
    EXPECT_EQ(texts(panel, "progressLine"), QStringList{"4 files"});
    EXPECT_EQ(state.runtime(job.id).filesBackedUp, 4);
}

TEST_F(Panel, becomesAnOrdinaryWindowWhereThereIsNoTray) {
    // The offscreen platform has no system tray, as some desktops have none.
    auto& state = makeState();
    TrayController tray(state);
    EXPECT_FALSE(tray.inTray());
    EXPECT_TRUE(tray.panel().isVisible());
    EXPECT_FALSE(tray.panel().windowFlags().testFlag(Qt::Popup));
    EXPECT_EQ(tray.panel().windowTitle(), "Lorekeep");
}

} // namespace
} // namespace lorekeep::ui::test
