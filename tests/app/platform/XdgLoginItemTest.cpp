#include "support/TempDir.h"

#include "platform/linux/XdgLoginItem.h"

#include <QDir>

#include <gtest/gtest.h>

#include <filesystem>

using lorekeep::app::LoginItem;
using lorekeep::app::XdgLoginItem;
using namespace lorekeep::test;

namespace {

QString qpath(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

std::string execLine(const std::string& entry) {
    const auto start = entry.find("\nExec=");
    return start == std::string::npos ? std::string()
                                      : entry.substr(start + 1, entry.find('\n', start + 1) - start - 1);
}

TEST(XdgLoginItem, registeringWritesAnEntryThatStartsTheApplicationAndUnregisteringRemovesIt) {
    const TempDir home;
    const auto folder = home / "config" / "autostart";
    XdgLoginItem item(qpath(folder), QStringLiteral("/opt/Lorekeep/bin/Lorekeep"));
    EXPECT_EQ(item.status(), LoginItem::Status::notRegistered);

    EXPECT_EQ(item.registerItem(), std::nullopt);
    EXPECT_EQ(item.status(), LoginItem::Status::enabled);
    const std::string entry = readFile(folder / "lorekeep.desktop");
    EXPECT_EQ(entry.rfind("[Desktop Entry]\n", 0), 0u);
    EXPECT_NE(entry.find("\nType=Application\n"), std::string::npos);
    EXPECT_EQ(execLine(entry), "Exec=/opt/Lorekeep/bin/Lorekeep");
    // Nothing but the entry: the temporary file it was written through is gone.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 1);

    writeFile(folder / "other.desktop", "[Desktop Entry]\nExec=other\n");
    EXPECT_EQ(item.unregisterItem(), std::nullopt);
    EXPECT_EQ(item.status(), LoginItem::Status::notRegistered);
    EXPECT_FALSE(std::filesystem::exists(folder / "lorekeep.desktop"));
    EXPECT_TRUE(std::filesystem::exists(folder / "other.desktop"));
    EXPECT_EQ(item.unregisterItem(), std::nullopt) << "unregistering twice is not an error";
}

TEST(XdgLoginItem, programPathsThatNeedQuotingSurviveTheEntry) {
    struct Row {
        QString program;
        std::string exec;
    };
    const Row rows[] = {
        {QStringLiteral("/home/ann/My Apps/Lorekeep"), R"(Exec="/home/ann/My Apps/Lorekeep")"},
        {QStringLiteral("/home/ann/100%/Lorekeep"), "Exec=/home/ann/100%%/Lorekeep"},
        {QStringLiteral("/home/a\"b$c`d/Lorekeep"), R"(Exec="/home/a\\"b\\$c\\`d/Lorekeep")"},
        {QStringLiteral("/home/back\\slash/Lorekeep"), R"(Exec="/home/back\\\\slash/Lorekeep")"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.program.toStdString());
        const TempDir home;
        XdgLoginItem item(qpath(home / "autostart"), row.program, {QStringLiteral("agent"), QStringLiteral("a b")});
        ASSERT_EQ(item.registerItem(), std::nullopt);
        EXPECT_EQ(execLine(readFile(home / "autostart" / "lorekeep.desktop")), row.exec + R"( agent "a b")");
        EXPECT_EQ(item.status(), LoginItem::Status::enabled);
    }
}

TEST(XdgLoginItem, anEntryTheDesktopWouldNotStartIsNotRegistered) {
    const QString program = QStringLiteral("/usr/bin/Lorekeep");
    struct Row {
        const char* name;
        std::string entry;
        LoginItem::Status status;
    };
    const Row rows[] = {
        {"enabled", "[Desktop Entry]\nType=Application\nExec=/usr/bin/Lorekeep\n", LoginItem::Status::enabled},
        {"hidden", "[Desktop Entry]\nExec=/usr/bin/Lorekeep\nHidden=true\n", LoginItem::Status::notRegistered},
        {"switched off in GNOME", "[Desktop Entry]\nExec=/usr/bin/Lorekeep\nX-GNOME-Autostart-enabled=false\n",
         LoginItem::Status::notRegistered},
        {"hidden only in another group", "[Desktop Entry]\nExec=/usr/bin/Lorekeep\n[Desktop Action x]\nHidden=true\n",
         LoginItem::Status::enabled},
        {"another copy of the program", "[Desktop Entry]\nExec=/opt/old/Lorekeep\n", LoginItem::Status::notRegistered},
        {"no main group", "[Something Else]\nExec=/usr/bin/Lorekeep\n", LoginItem::Status::notRegistered},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TempDir home;
        writeFile(home / "autostart" / "lorekeep.desktop", row.entry);
        const XdgLoginItem item(qpath(home / "autostart"), program);
        EXPECT_EQ(item.status(), row.status);
    }
}

TEST(XdgLoginItem, registeringAgainRepairsADisabledOrForeignEntry) {
    const TempDir home;
    writeFile(home / "autostart" / "lorekeep.desktop", "[Desktop Entry]\nExec=/opt/old/Lorekeep\nHidden=true\n");
    XdgLoginItem item(qpath(home / "autostart"), QStringLiteral("/usr/bin/Lorekeep"));
    ASSERT_EQ(item.registerItem(), std::nullopt);
    EXPECT_EQ(item.status(), LoginItem::Status::enabled);
}

TEST(XdgLoginItem, aFolderThatCannotBeMadeIsReportedAsText) {
    const TempDir home;
    writeFile(home / "autostart", "a file where the folder should be");
    XdgLoginItem item(qpath(home / "autostart"), QStringLiteral("/usr/bin/Lorekeep"));
    const std::optional<QString> error = item.registerItem();
    ASSERT_TRUE(error.has_value());
    EXPECT_TRUE(error->contains(qpath(home / "autostart"))) << error->toStdString();
    EXPECT_EQ(item.status(), LoginItem::Status::notRegistered);
}

} // namespace
