#include "ui/Screenshot.h"

#include <QApplication>

#include <gtest/gtest.h>

// The windows need a QApplication; the offscreen platform draws them without a display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    lorekeep::ui::test::applyLook(lorekeep::ui::test::Look::light);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
