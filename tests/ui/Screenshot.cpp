#include "ui/Screenshot.h"

#include <QApplication>
#include <QDir>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QWidget>

#include <gtest/gtest.h>

namespace lorekeep::ui::test {
namespace {

QPalette darkPalette() {
    QPalette p;
    const QColor window(0x2b, 0x2b, 0x2d);
    const QColor base(0x1e, 0x1e, 0x20);
    const QColor text(0xe8, 0xe8, 0xea);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x28));
    p.setColor(QPalette::ToolTipBase, window);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x8e, 0x8e, 0x93));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3c));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x48, 0x48, 0x4a));
    p.setColor(QPalette::Midlight, QColor(0x3e, 0x3e, 0x40));
    p.setColor(QPalette::Mid, QColor(0x2f, 0x2f, 0x31));
    p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, QColor(0x0a, 0x84, 0xff));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x40, 0x9c, 0xff));
    p.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x7c, 0x7c, 0x80));
    p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x7c, 0x7c, 0x80));
    p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x7c, 0x7c, 0x80));
    return p;
}

} // namespace

void applyLook(Look look) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(look == Look::dark ? darkPalette() : QApplication::style()->standardPalette());
}

void inEachLook(const std::function<void(Look)>& scene) {
    for (Look look : {Look::dark, Look::light}) {
        applyLook(look);
        scene(look);
    }
}

void saveScreenshot(QWidget& window, const QString& name, Look look) {
    window.ensurePolished();
    if (!window.isVisible())
        window.show();
    QApplication::processEvents();
    QDir().mkpath(QStringLiteral("screenshots"));
    const QString file = QStringLiteral("screenshots/%1-%2.png")
                             .arg(name, look == Look::dark ? QStringLiteral("dark") : QStringLiteral("light"));
    EXPECT_TRUE(window.grab().save(file)) << file.toStdString();
}

} // namespace lorekeep::ui::test
