#include "Log.h"
#include "FakePlatform.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace lorekeep::app {
namespace {

namespace fs = std::filesystem;
using lorekeep::test::readFile;
using lorekeep::test::TempDir;

const Date tenOClock = Date::fromIso8601("2026-03-01T10:00:00Z").value();

TEST(Log, writesTimestampedLinesWithFiveCharacterLevels) {
    TempDir dir;
    auto systemLog = std::make_shared<test::RecordingSystemLog>();
    {
        Log log(dir / "a" / "b", systemLog, [] { return tenOClock; });
        log.info("NAS: backup started to /mnt/nas");
        log.warn("careful");
        log.error("broken");
    }
    EXPECT_EQ(readFile(dir / "a" / "b" / "Lorekeep.log"), "2026-03-01T10:00:00Z INFO  NAS: backup started to /mnt/nas\n"
                                                          "2026-03-01T10:00:00Z WARN  careful\n"
                                                          "2026-03-01T10:00:00Z ERROR broken\n");
    ASSERT_EQ(systemLog->lines.size(), 3u);
    EXPECT_EQ(systemLog->lines[1].first, SystemLog::Type::error) << "warnings reach the system log as errors";
    EXPECT_EQ(systemLog->lines[0], std::make_pair(SystemLog::Type::info, QString("NAS: backup started to /mnt/nas")));
}

TEST(Log, rotatesOnlyAFileAboveTheLimitAndKeepsOnePreviousFile) {
    TempDir dir;
    Log log(dir.path(), nullptr, [] { return tenOClock; });
    const fs::path current = dir / "Lorekeep.log", previous = dir / "Lorekeep.1.log";
    const std::string line = Log::formatLine(tenOClock, LogLine::Level::info, "x");
    {
        std::ofstream out(current, std::ios::binary);
        out << std::string(Log::sizeLimit, 'a');
    }
    lorekeep::test::writeFile(previous, "older");

    log.info("x");
    log.flush();
    EXPECT_EQ(fs::file_size(current), Log::sizeLimit + line.size()) << "exactly at the limit: no rotation";
    EXPECT_EQ(readFile(previous), "older");

    log.info("x");
    log.flush();
    EXPECT_EQ(readFile(current), line);
    EXPECT_EQ(fs::file_size(previous), Log::sizeLimit + line.size()) << "the older previous file is replaced";
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 2);
}

TEST(Log, makesItsFolderAgainWhenItWasRemovedAndNeverFailsItsCaller) {
    TempDir dir;
    Log log(dir / "logs", nullptr, [] { return tenOClock; });
    log.info("one");
    log.flush();
    fs::remove_all(dir / "logs");
    log.info("two");
    log.flush();
    EXPECT_EQ(readFile(dir / "logs" / "Lorekeep.log"), "2026-03-01T10:00:00Z INFO  two\n");

    // A file where the folder should be: lines are lost, quietly.
    lorekeep::test::writeFile(dir / "blocked", "");
    Log blocked(dir / "blocked", nullptr, [] { return tenOClock; });
    blocked.error("lost");
    blocked.flush();
    EXPECT_EQ(readFile(dir / "blocked"), "");
}

} // namespace
} // namespace lorekeep::app
