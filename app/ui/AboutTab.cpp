#include "AboutTab.h"

#include "Controls.h"
#include "Updater.h"
#include "Workspace.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSvgRenderer>
#include <QVBoxLayout>

namespace lorekeep::ui {

void checkForUpdates(Updater& updater, QWidget* parent) {
    if (updater.canCheck()) {
        updater.checkNow();
        return;
    }
    QMessageBox box(QMessageBox::Information, QStringLiteral("Check for Updates"),
                    QStringLiteral("This is Lorekeep %1.").arg(QStringLiteral(LOREKEEP_VERSION)), QMessageBox::Ok,
                    parent);
    box.setInformativeText(updater.source());
    box.exec();
}

AboutTab::AboutTab(Updater& updater, QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 32, 32, 24);
    layout->setSpacing(6);

    auto* icon = new QLabel(this);
    QPixmap art(96 * devicePixelRatioF(), 96 * devicePixelRatioF());
    art.fill(Qt::transparent);
    {
        QPainter painter(&art);
        QSvgRenderer(QStringLiteral(":/icons/app/lorekeep.svg")).render(&painter);
    }
    art.setDevicePixelRatio(devicePixelRatioF());
    icon->setPixmap(art);
    layout->addWidget(icon, 0, Qt::AlignHCenter);
    layout->addSpacing(6);

    auto* name = new QLabel(QStringLiteral("Lorekeep"), this);
    QFont big = name->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * 1.6);
    name->setFont(big);
    layout->addWidget(name, 0, Qt::AlignHCenter);
    layout->addWidget(secondaryLabel(QStringLiteral("Version %1").arg(QStringLiteral(LOREKEEP_VERSION)), this), 0,
                      Qt::AlignHCenter);
    layout->addSpacing(10);
    auto* line = new QLabel(
        QStringLiteral("Backs up your Photos library to the folders you choose, keeps your albums, and never deletes a "
                       "file."),
        this);
    line->setWordWrap(true);
    line->setAlignment(Qt::AlignHCenter);
    layout->addWidget(line);
    layout->addSpacing(14);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* bug = new SymbolButton(QStringLiteral("ladybug"), QStringLiteral("Report a Bug…"), this);
    connect(bug, &QPushButton::clicked, this, [] { openWebPage(QUrl(QString::fromLatin1(bugReportAddress))); });
    auto* updates = new SymbolButton(QStringLiteral("arrow.down.circle"), QStringLiteral("Check for Updates"), this);
    connect(updates, &QPushButton::clicked, this, [this, &updater] { checkForUpdates(updater, this); });
    buttons->addWidget(bug);
    buttons->addWidget(updates);
    buttons->addStretch();
    layout->addLayout(buttons);
    layout->addStretch();

    auto* credit =
        secondaryLabel(QStringLiteral("Made by the Lorekeep contributors. <a href=\"%1\">Support the project</a>")
                           .arg(QString::fromLatin1(donationAddress)),
                       this);
    credit->setAlignment(Qt::AlignHCenter);
    credit->setTextFormat(Qt::RichText);
    credit->setOpenExternalLinks(true);
    layout->addWidget(credit);
}

} // namespace lorekeep::ui
