#include "ui/JobEditor.h"
#include "ui/Screenshot.h"
#include "ui/UiFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include <set>

namespace lorekeep::ui::test {
namespace {

class Editor : public UiFixture {
protected:
    QLineEdit* name(JobEditor& editor) { return editor.findChild<QLineEdit*>(); }
    QCheckBox* box(JobEditor& editor, const QString& text) {
        for (auto* candidate : editor.findChildren<QCheckBox*>())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }
    QPushButton* saveButton(JobEditor& editor) {
        for (auto* candidate : editor.findChildren<QPushButton*>())
            if (candidate->text() == "Save")
                return candidate;
        return nullptr;
    }
    QComboBox* source(JobEditor& editor) { return editor.findChild<QComboBox*>(); }
    QListWidget* albums(JobEditor& editor) { return editor.findChild<QListWidget*>("albums"); }
    void tick(JobEditor& editor, const QString& title) {
        ASSERT_TRUE(app::test::waitUntil([&] { return !m_state->albumsLoading() && albums(editor)->count() > 0; }));
        for (int row = 0; row < albums(editor)->count(); ++row)
            if (albums(editor)->item(row)->text() == title) {
                albums(editor)->item(row)->setCheckState(Qt::Checked);
                return;
            }
        FAIL() << "no album " << title.toStdString();
    }
};

TEST_F(Editor, showsTheFirstFailingCheckInOrderWhenSaving) {
    auto& state = makeState();
    addJob("Zeus", "Zeus");
    JobEditor editor(state, std::nullopt);
    editor.show();
    EXPECT_EQ(editor.validationMessage(), "") << "nothing is held against a job before the first Save";

    name(editor)->setText("   ");
    box(editor, "Photos")->setChecked(false);
    box(editor, "Videos")->setChecked(false);
    source(editor)->setCurrentIndex(1);
    EXPECT_FALSE(editor.save());
    EXPECT_EQ(editor.validationMessage(), "Give the job a name.");

    // Each fix uncovers the next check, live once Save was tried.
    name(editor)->setText("Second NAS");
    EXPECT_EQ(editor.validationMessage(), "Choose a destination.");
    editor.setDestination(pathOf("Zeus"));
    EXPECT_EQ(editor.validationMessage(), "Pick photos, videos or both.");
    box(editor, "Videos")->setChecked(true);
    EXPECT_EQ(editor.validationMessage(), "Select at least one album.");
    tick(editor, "Trip to Crete");
    EXPECT_EQ(editor.validationMessage(), "Another job already uses this destination.");
    EXPECT_FALSE(editor.save());
    EXPECT_EQ(state.jobs().size(), 1u);

    editor.setDestination(pathOf("Second"));
    EXPECT_EQ(editor.validationMessage(), "");
    EXPECT_TRUE(editor.save());
    ASSERT_EQ(state.jobs().size(), 2u);
    const auto& saved = state.jobs().back();
    EXPECT_EQ(saved.name, "Second NAS");
    EXPECT_FALSE(saved.scope.includePhotos);
    EXPECT_EQ(saved.scope.albumIDs, std::vector<std::string>{"album-trip"});
}

TEST_F(Editor, savesAnEditedJobOverItsOwnDestinationAndNoticesAChangedSource) {
    auto& state = makeState();
    const auto job = addJob("Zeus", "Zeus");
    inEachLook([&](Look look) {
        JobEditor editor(state, state.job(job.id));
        editor.show();
        EXPECT_FALSE(editor.rescanNoticeShown());
        box(editor, "Videos")->setChecked(false);
        EXPECT_TRUE(editor.rescanNoticeShown());
        saveScreenshot(editor, "editor-changed-source", look);
        box(editor, "Videos")->setChecked(true);
        EXPECT_FALSE(editor.rescanNoticeShown()) << "back to the source it had";

        name(editor)->setText("Zeus photos");
        EXPECT_TRUE(editor.save()) << editor.validationMessage().toStdString();
        EXPECT_EQ(editor.validationMessage(), "");
    });
    ASSERT_EQ(state.jobs().size(), 1u);
    EXPECT_EQ(state.jobs().front().name, "Zeus photos");
    EXPECT_EQ(state.jobs().front().destinationPath, job.destinationPath);
}

TEST_F(Editor, aNewJobNeverShowsTheRescanNotice) {
    auto& state = makeState();
    JobEditor editor(state, std::nullopt);
    box(editor, "Photos")->setChecked(false);
    source(editor)->setCurrentIndex(1);
    EXPECT_FALSE(editor.rescanNoticeShown());
}

struct WarningCase {
    const char* path;
    bool iCloudDesktop;
    const char* expected;
};

class DestinationWarnings : public Editor, public testing::WithParamInterface<WarningCase> {};

TEST_P(DestinationWarnings, nameTheSyncClientOrTheICloudDesktop) {
    const auto& c = GetParam();
    auto& state = makeState();
    JobEditor editor(state, std::nullopt);
    const QString home = "/Users/ann";
    std::set<QString> existing;
    if (c.iCloudDesktop)
        existing.insert(home + "/Library/Mobile Documents/com~apple~CloudDocs/Desktop");
    editor.setHome(home, [existing](const QString& path) { return existing.contains(path); });
    editor.setDestination(home + c.path);
    EXPECT_EQ(editor.destinationWarning(), c.expected) << c.path;
}

const char* synced(const char* provider) {
    static std::vector<std::string> texts;
    texts.push_back(std::string("This folder is synced by ") + provider +
                    ". Sync clients can move or delete backup files and drop album links. Back up to the share or "
                    "drive directly instead.");
    return texts.back().c_str();
}

const char* desktopSync = "Desktop and Documents sync to iCloud on this Mac, and macOS may remove local copies. Use a "
                          "folder outside them.";

INSTANTIATE_TEST_SUITE_P(Cases, DestinationWarnings,
                         testing::Values(WarningCase{"/Library/CloudStorage/OneDrive-Personal/Backups", false,
                                                     synced("a cloud storage app")},
                                         WarningCase{"/OneDrive/Backups", false, synced("OneDrive")},
                                         WarningCase{"/Dropbox Archive", false, synced("Dropbox")},
                                         WarningCase{"/Documents/Backups", false, ""},
                                         WarningCase{"/Documents/Backups", true, desktopSync},
                                         WarningCase{"/Backups", true, ""}));

TEST_F(Editor, listsAlbumsToTickAndFiltersThemWithoutLosingTicks) {
    auto& state = makeState();
    inEachLook([&](Look look) {
        JobEditor editor(state, std::nullopt);
        editor.show();
        source(editor)->setCurrentIndex(1);
        // The album catalog is read in the background; until then the list says so.
        if (state.albumsLoading()) {
            EXPECT_TRUE(editor.findChild<QListWidget*>("albums")->isHidden());
            bool loadingShown = false;
            for (const auto* label : editor.findChildren<QLabel*>())
                loadingShown |= label->text() == "Loading albums…" && label->isVisibleTo(&editor);
            EXPECT_TRUE(loadingShown);
        }
        ASSERT_TRUE(app::test::waitUntil([&] { return !state.albumsLoading() && albums(editor)->count() == 3; }));

        name(editor)->setText("Holidays");
        tick(editor, "Cats");
        QLineEdit* filter = nullptr;
        for (auto* edit : editor.findChildren<QLineEdit*>())
            if (edit->placeholderText() == "Filter albums")
                filter = edit;
        ASSERT_NE(filter, nullptr);
        filter->setText("trip");
        ASSERT_EQ(albums(editor)->count(), 1);
        EXPECT_EQ(albums(editor)->item(0)->text(), "Trip to Crete");
        albums(editor)->item(0)->setCheckState(Qt::Checked);
        editor.setDestination(pathOf("Holidays"));
        saveScreenshot(editor, "editor-albums", look);

        auto ids = editor.job().scope.albumIDs.value();
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(ids, (std::vector<std::string>{"album-cats", "album-trip"}));
        filter->clear();
        EXPECT_EQ(albums(editor)->count(), 3);
    });
}

TEST_F(Editor, newJobWithAWarningAndAFailedSave) {
    auto& state = makeState();
    inEachLook([&](Look look) {
        JobEditor editor(state, std::nullopt);
        editor.setHome("/Users/ann", [](const QString&) { return false; });
        editor.setDestination("/Users/ann/Dropbox/Photos backup");
        editor.show();
        EXPECT_FALSE(editor.save());
        EXPECT_EQ(editor.validationMessage(), "Give the job a name.");
        EXPECT_FALSE(editor.destinationWarning().isEmpty());
        saveScreenshot(editor, "editor-new-warning", look);
    });
}

} // namespace
} // namespace lorekeep::ui::test
