#include "ui/OverallStatus.h"
#include "ui/Screenshot.h"
#include "ui/Symbols.h"
#include "ui/TrayArt.h"

#include <QDirIterator>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <vector>

namespace lorekeep::ui {
namespace {

using enum StatusKind;

struct OverallCase {
    const char* what;
    std::optional<StatusKind> running;
    std::vector<JobStatusEntry> jobs;
    StatusKind expected;
};

class OverallStatusRule : public testing::TestWithParam<OverallCase> {};

TEST_P(OverallStatusRule, picksTheStatusTheIconShows) {
    const auto& c = GetParam();
    EXPECT_EQ(overallStatus(c.running, c.jobs), c.expected) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OverallStatusRule,
    testing::Values(
        OverallCase{"no jobs", std::nullopt, {}, idle},
        OverallCase{"only disabled jobs, even failed", std::nullopt, {{false, failed}, {false, upToDate}}, idle},
        OverallCase{"every enabled job up to date", std::nullopt, {{true, upToDate}, {true, upToDate}}, upToDate},
        OverallCase{"a disabled failed job is ignored", std::nullopt, {{false, failed}, {true, upToDate}}, upToDate},
        OverallCase{"one ready job among up-to-date ones", std::nullopt, {{true, upToDate}, {true, idle}}, idle},
        OverallCase{"failed wins over paused, wherever it is", std::nullopt, {{true, paused}, {true, failed}}, failed},
        OverallCase{"paused wins over up to date", std::nullopt, {{true, upToDate}, {true, paused}}, paused},
        OverallCase{"the running job's status wins over a failure", verifying, {{true, failed}}, verifying},
        OverallCase{"the running job's status, even when no job is enabled", updatingAlbums, {}, updatingAlbums}));

TEST(StatusSymbols, everyStatusAndTheRunningFramesAreDrawableAndDistinct) {
    std::vector<QString> seen;
    for (auto kind : {running, verifying, updatingAlbums, paused, failed, idle, upToDate}) {
        const QString name = statusSymbol(kind);
        EXPECT_TRUE(hasSymbol(name)) << name.toStdString();
        EXPECT_EQ(std::count(seen.begin(), seen.end(), name), 0) << name.toStdString();
        seen.push_back(name);
    }

    // Frame 0 is upright, every frame turns a further 30 degrees clockwise, and frame 12 is frame 0 again.
    EXPECT_EQ(runningFrameRotation(0), 0);
    EXPECT_EQ(runningFrameRotation(1), 30);
    EXPECT_EQ(runningFrameRotation(11), 330);
    EXPECT_EQ(runningFrameRotation(12), 0);
    EXPECT_EQ(runningFrameRotation(25), 30);

    std::vector<QImage> frames;
    for (int frame = 0; frame < 12; ++frame)
        frames.push_back(trayIcon(running, runningFrameRotation(frame)).pixmap(22).toImage());
    for (size_t a = 0; a < frames.size(); ++a)
        for (size_t b = a + 1; b < frames.size(); ++b)
            EXPECT_NE(frames[a], frames[b]) << "frames " << a << " and " << b;
}

// The whole symbol set at the sizes the interface uses, and the tray tiles, for the eye.
TEST(StatusSymbols, iconSheetScreenshot) {
    QStringList names;
    QDirIterator it(QStringLiteral(":/icons"), {QStringLiteral("*.svg")}, QDir::Files);
    while (it.hasNext())
        names << it.next().section(QLatin1Char('/'), -1).chopped(4);
    names.sort();
    ASSERT_GE(names.size(), 20);

    test::inEachLook([&](test::Look look) {
        QWidget sheet;
        const int columns = 8;
        const int cell = 64;
        const int rows = int((names.size() + columns - 1) / columns) + 1;
        sheet.setFixedSize(columns * cell, rows * cell);
        QImage image(sheet.size(), QImage::Format_ARGB32);
        image.fill(sheet.palette().color(QPalette::Window));
        QPainter painter(&image);
        const QColor ink = sheet.palette().color(QPalette::WindowText);
        for (int i = 0; i < names.size(); ++i) {
            const QPoint origin((i % columns) * cell, (i / columns) * cell);
            painter.drawPixmap(origin + QPoint(8, 8), symbolPixmap(names[i], ink, 16));
            painter.drawPixmap(origin + QPoint(30, 8), symbolPixmap(names[i], ink, 22));
            QFont small = painter.font();
            small.setPixelSize(8);
            painter.setFont(small);
            painter.setPen(ink);
            painter.drawText(QRect(origin + QPoint(2, 36), QSize(cell - 4, 24)), Qt::AlignHCenter | Qt::TextWordWrap,
                             names[i]);
        }
        int x = 8;
        const int y = (rows - 1) * cell + 8;
        for (auto kind : {running, verifying, updatingAlbums, paused, failed, idle, upToDate}) {
            painter.drawPixmap(x, y, trayIcon(kind).pixmap(16));
            painter.drawPixmap(x + 20, y, trayIcon(kind).pixmap(22));
            x += 52;
        }
        for (int frame = 1; frame < 4; ++frame, x += 26)
            painter.drawPixmap(x, y, trayIcon(running, runningFrameRotation(frame)).pixmap(22));
        painter.end();
        QLabel label;
        label.setPixmap(QPixmap::fromImage(image));
        test::saveScreenshot(label, QStringLiteral("icons"), look);
    });
}

} // namespace
} // namespace lorekeep::ui
