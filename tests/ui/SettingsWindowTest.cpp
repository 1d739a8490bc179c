#include "ui/SettingsWindow.h"
#include "ui/ActivityTab.h"
#include "ui/Controls.h"
#include "ui/Screenshot.h"
#include "ui/UiFixture.h"
#include "ui/Updater.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include <filesystem>

namespace lorekeep::ui::test {
namespace {

class Settings : public UiFixture {
protected:
    NoUpdater m_updater{"Lorekeep is updated by your package manager."};

    static bool shows(const QWidget& root, const QString& text) {
        for (const auto* label : root.findChildren<QLabel*>())
            if (label->isVisibleTo(&root) && label->text() == text)
                return true;
        return false;
    }
    static QPushButton* button(const QWidget& root, const QString& text) {
        for (auto* candidate : root.findChildren<QPushButton*>())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }
    void addFailingPhotos(int count) {
        for (int i = 1; i <= count; ++i) {
            const std::string id = "broken-" + std::to_string(i);
            m_library->addAsset(lorekeep::test::FakePhotoLibrary::photo(id),
                                {{ResourceType::photo,
                                  "BROKEN_" + std::to_string(i) + ".JPG",
                                  "x",
                                  {},
                                  lorekeep::test::FakePhotoLibrary::WriteFailure::always}});
        }
    }
};

TEST_F(Settings, generalTabWithoutJobsExplainsWhatAJobIs) {
    auto& state = makeState();
    inEachLook([&](Look look) {
        SettingsWindow window(state, m_updater);
        window.show();
        EXPECT_TRUE(shows(window, "No backup jobs"));
        EXPECT_FALSE(button(window, "Back Up All")->isEnabled());
        EXPECT_TRUE(shows(window, m_updater.source())) << "a build without an updater says where updates come from";
        saveScreenshot(window, "settings-general-empty", look);
    });
}

TEST_F(Settings, jobCardsSwitchRemoveAndWarnAboutSyncedFolders) {
    auto& state = makeState();
    const auto nas = addJob("Zeus", "Zeus");
    auto synced = app::BackupJob::make("Dropbox copy");
    synced.destinationPath = QDir::homePath() + "/Dropbox/Photos";
    synced.scope.includeVideos = false;
    synced.scope.albumIDs = std::vector<std::string>{"album-trip", "album-cats"};
    state.addJob(synced);
    runAll();

    inEachLook([&](Look look) {
        SettingsWindow window(state, m_updater);
        window.show();
        auto* syncedCard = window.findChild<QWidget*>("jobCard:" + synced.id.toString(QUuid::WithoutBraces));
        auto* nasCard = window.findChild<QWidget*>("jobCard:" + nas.id.toString(QUuid::WithoutBraces));
        ASSERT_TRUE(syncedCard && nasCard);
        EXPECT_TRUE(syncedCard->findChild<QLabel*>("syncedFolder"));
        EXPECT_FALSE(nasCard->findChild<QLabel*>("syncedFolder"));
        bool counted = false;
        for (const auto* label : nasCard->findChildren<QLabel*>())
            counted |= label->text().startsWith("4 files backed up");
        EXPECT_TRUE(counted);
        EXPECT_TRUE(shows(*syncedCard, "2 albums, photos only"));
        saveScreenshot(window, "settings-general-jobs", look);
        // The whole tab, below the fold too.
        window.resize(window.width(), 1300);
        saveScreenshot(window, "settings-general-all", look);
    });

    SettingsWindow window(state, m_updater);
    auto* nasCard = window.findChild<QWidget*>("jobCard:" + nas.id.toString(QUuid::WithoutBraces));
    nasCard->findChild<Switch*>("enabled")->click();
    EXPECT_FALSE(state.job(nas.id)->enabled);

    nasCard = window.findChild<QWidget*>("jobCard:" + nas.id.toString(QUuid::WithoutBraces));
    button(*nasCard, "Remove")->click();
    ASSERT_EQ(state.jobs().size(), 1u);
    EXPECT_TRUE(std::filesystem::exists(m_dir.path() / "Zeus" / ".lorekeep" / "index.json")) << "its files stay";
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window.findChild<QWidget*>("jobCard:" + nas.id.toString(QUuid::WithoutBraces)), nullptr);
}

TEST_F(Settings, activityListsErrorsAndVerifyProblemsCutsLongListsAndCopiesEveryLine) {
    addFailingPhotos(8);
    auto& state = makeState();
    const auto broken = addJob("Zeus", "Zeus");
    runAll();
    ASSERT_EQ(state.runtime(broken.id).errors.size(), 8);

    // A second job whose backup loses a file, found by verification; the first one sits out, keeping its errors.
    state.setJobEnabled(broken.id, false);
    for (int i = 1; i <= 8; ++i)
        m_library->setWriteFailure("broken-" + std::to_string(i), ResourceType::photo,
                                   lorekeep::test::FakePhotoLibrary::WriteFailure::never);
    const auto usb = addJob("USB drive", "USB");
    runAll();
    ASSERT_TRUE(state.runtime(usb.id).errors.isEmpty());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir.path() / "USB" / "By Date"))
        if (entry.is_regular_file() && entry.path().extension() != ".xmp") {
            std::filesystem::remove(entry.path());
            break;
        }
    ASSERT_TRUE(state.verifyNow(usb.id));
    ASSERT_TRUE(app::test::waitUntil([&] { return !state.isRunning(); }));
    ASSERT_EQ(state.runtime(usb.id).verifyProblems.size(), 1);

    inEachLook([&](Look look) {
        SettingsWindow window(state, m_updater);
        window.showTab(SettingsWindow::Tab::activity);
        window.show();
        auto& tab = window.activity();
        QStringList headings;
        for (const auto* label : tab.findChildren<QLabel*>("heading"))
            headings << label->text();
        EXPECT_TRUE(headings.contains("8 errors"));
        EXPECT_TRUE(headings.contains("1 problem"));
        EXPECT_TRUE(shows(tab, "3 more. Copy includes them all."));
        EXPECT_FALSE(shows(tab, "No problems"));
        saveScreenshot(window, "settings-activity", look);
    });

    SettingsWindow window(state, m_updater);
    auto lists = window.activity().findChildren<QWidget*>("activityList");
    ASSERT_FALSE(lists.empty());
    QWidget* errors = nullptr;
    for (auto* list : lists)
        if (list->findChild<QLabel*>("heading")->text() == "8 errors")
            errors = list;
    ASSERT_NE(errors, nullptr);
    errors->findChild<QToolButton*>("copy")->click();
    const QStringList copied = QApplication::clipboard()->text().split('\n');
    EXPECT_EQ(copied, QStringList(state.runtime(broken.id).errors));
}

TEST_F(Settings, activityIsCleanWhenEveryJobFinishedCleanly) {
    auto& state = makeState();
    addJob("Zeus", "Zeus");
    runAll();
    SettingsWindow window(state, m_updater);
    window.showTab(SettingsWindow::Tab::activity);
    window.show();
    EXPECT_TRUE(shows(window.activity(), "No problems"));
    EXPECT_TRUE(shows(window.activity(), "The last backup and verify of every job finished cleanly."));
    inEachLook([&](Look look) {
        SettingsWindow themed(state, m_updater);
        themed.showTab(SettingsWindow::Tab::activity);
        saveScreenshot(themed, "settings-activity-clean", look);
    });
}

TEST_F(Settings, privacyShowsTheLibraryInUseAndChecksTheFilterAgain) {
    m_fakes->photosAccess->current = app::PhotosAuthorization::authorized;
    auto& state = makeState();
    inEachLook([&](Look look) {
        SettingsWindow window(state, m_updater);
        window.showTab(SettingsWindow::Tab::privacy);
        window.show();
        const auto* filterState = window.findChild<QLabel*>("filterState");
        button(window, "Check Again")->click();
        ASSERT_TRUE(app::test::waitUntil([&] { return filterState->text() == "Needs access"; }));
        EXPECT_EQ(window.findChild<QLabel*>("photosState")->text(), "Allowed");
        const auto* package = window.findChild<QLabel*>("libraryPath");
        ASSERT_NE(package, nullptr);
        EXPECT_TRUE(package->text().endsWith("Photos Library.photoslibrary")) << package->text().toStdString();
        saveScreenshot(window, "settings-privacy", look);
    });
}

TEST_F(Settings, aboutTabScreenshot) {
    auto& state = makeState();
    inEachLook([&](Look look) {
        SettingsWindow window(state, m_updater);
        window.showTab(SettingsWindow::Tab::about);
        saveScreenshot(window, "settings-about", look);
    });
}

} // namespace
} // namespace lorekeep::ui::test
