#include "app/platform/EventLoop.h"
#include "support/TempDir.h"

#include "platform/linux/DatabaseFileWatcher.h"

#include <QFileSystemWatcher>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using lorekeep::app::DatabaseFileWatcher;
using namespace lorekeep::test;

namespace {

QString qpath(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

void append(const std::filesystem::path& file, std::string_view text) {
    std::ofstream out(file, std::ios::binary | std::ios::app);
    out << text;
}

class DatabaseFileWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureApplication();
        writeFile(m_database / "Photos.sqlite", "main");
        writeFile(m_database / "Photos.sqlite-wal", "log");
    }

    void startWatching() {
        m_watcher.emplace(qpath(m_package.path()), [this] { ++m_changes; });
    }

    // Waits for a change notice after `action`; false when none came.
    bool changes(const std::function<void()>& action) {
        runReadyEvents();
        m_changes = 0;
        action();
        return runEventsUntil([&] { return m_changes > 0; });
    }

    TempDir m_package;
    std::filesystem::path m_database = m_package / "database";
    std::optional<DatabaseFileWatcher> m_watcher;
    int m_changes = 0;
};

TEST_F(DatabaseFileWatcherTest, writesToTheDatabaseAndItsLogAreChanges) {
    startWatching();
    EXPECT_TRUE(changes([&] { append(m_database / "Photos.sqlite", "more"); }));
    EXPECT_TRUE(changes([&] { append(m_database / "Photos.sqlite-wal", "more"); }));
}

TEST_F(DatabaseFileWatcherTest, aDatabaseReplacedByRenameIsStillWatched) {
    startWatching();
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        writeFile(m_database / "Photos.sqlite.new", "replacement");
        EXPECT_TRUE(
            changes([&] { std::filesystem::rename(m_database / "Photos.sqlite.new", m_database / "Photos.sqlite"); }));
        EXPECT_TRUE(changes([&] { append(m_database / "Photos.sqlite", "written after the swap"); }));
    }
}

TEST_F(DatabaseFileWatcherTest, aLogDeletedAndMadeAgainIsWatchedAgain) {
    startWatching();
    EXPECT_TRUE(changes([&] { std::filesystem::remove(m_database / "Photos.sqlite-wal"); }));
    EXPECT_TRUE(changes([&] { writeFile(m_database / "Photos.sqlite-wal", "new log"); }));
    EXPECT_TRUE(changes([&] { append(m_database / "Photos.sqlite-wal", "more"); }));
    EXPECT_EQ(m_watcher->watchedFiles().size(), 2);
}

TEST_F(DatabaseFileWatcherTest, aLogThatDidNotExistAtTheStartIsWatchedOnceItAppears) {
    std::filesystem::remove(m_database / "Photos.sqlite-wal");
    startWatching();
    EXPECT_TRUE(changes([&] { writeFile(m_database / "Photos.sqlite-wal", "log"); }));
    EXPECT_TRUE(changes([&] { append(m_database / "Photos.sqlite-wal", "more"); }));
}

TEST_F(DatabaseFileWatcherTest, filesThatReadersMakeBesideTheDatabaseAreNoChange) {
    startWatching();
    // A watch of the test's own on the folder tells when the folder's events have been delivered.
    QFileSystemWatcher folderEvents({qpath(m_database)});
    bool folderChanged = false;
    QObject::connect(&folderEvents, &QFileSystemWatcher::directoryChanged, [&] { folderChanged = true; });
    runReadyEvents();
    m_changes = 0;

    writeFile(m_database / "Photos.sqlite-shm", "index");
    writeFile(m_database / "Photos.sqlite-journal", "journal");
    append(m_database / "Photos.sqlite-shm", "more");
    ASSERT_TRUE(runEventsUntil([&] { return folderChanged; }));
    runReadyEvents();
    EXPECT_EQ(m_changes, 0);
}

} // namespace
