#include "ActivityTab.h"

#include "Controls.h"
#include "JobPresentation.h"
#include "MenuBarPanel.h"
#include "Symbols.h"
#include "Workspace.h"

#include "AppState.h"
#include "Log.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

namespace lorekeep::ui {

namespace {

QWidget* listWidget(const ActivityList& list, QWidget* parent) {
    auto* widget = new QWidget(parent);
    widget->setObjectName(QStringLiteral("activityList"));
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(3);
    auto* header = new QHBoxLayout;
    auto* heading = new QLabel(list.heading, widget);
    heading->setObjectName(QStringLiteral("heading"));
    QFont semi = heading->font();
    semi.setBold(true);
    heading->setFont(semi);
    header->addWidget(heading, 1);
    auto* copy = new QToolButton(widget);
    copy->setObjectName(QStringLiteral("copy"));
    copy->setIcon(symbolIcon(QStringLiteral("doc.on.doc"), widget->palette().color(QPalette::ButtonText)));
    copy->setIconSize(QSize(14, 14));
    copy->setAutoRaise(true);
    copy->setToolTip(QStringLiteral("Copy"));
    copy->setAccessibleName(QStringLiteral("Copy"));
    QObject::connect(copy, &QToolButton::clicked, widget,
                     [all = list.all] { QApplication::clipboard()->setText(all.join(QLatin1Char('\n'))); });
    header->addWidget(copy);
    layout->addLayout(header);
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(widget->font().pointSizeF() * 0.92);
    for (const auto& line : list.shown) {
        auto* label = new QLabel(line, widget);
        label->setObjectName(QStringLiteral("line"));
        label->setFont(mono);
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(label);
    }
    if (list.more) {
        auto* more = secondaryLabel(*list.more, widget);
        more->setObjectName(QStringLiteral("more"));
        layout->addWidget(more);
    }
    return widget;
}

} // namespace

ActivityTab::ActivityTab(app::AppState& state, QWidget* parent) : QWidget(parent), m_state(state) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(12);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* page = new QWidget(scroll);
    m_lists = new QVBoxLayout(page);
    m_lists->setContentsMargins(0, 0, 0, 0);
    m_lists->setSpacing(10);
    scroll->setWidget(page);
    layout->addWidget(scroll, 1);

    auto* footer = new QHBoxLayout;
    footer->setSpacing(8);
    const QString folder = QString::fromStdString(m_state.log().folder().string());
    auto* where = secondaryLabel(QStringLiteral("Log: %1").arg(homeShortened(folder)), this);
    where->setObjectName(QStringLiteral("logFolder"));
    where->setWordWrap(false);
    footer->addWidget(where, 1);
    auto* reveal = new SymbolButton(QStringLiteral("doc.text.magnifyingglass"), QStringLiteral("Reveal Log"), this);
    connect(reveal, &QPushButton::clicked, this, [this] {
        const auto file = m_state.log().folder() / app::Log::fileName;
        revealInFileManager(QString::fromStdString(file.string()));
    });
    auto* verifyAll = new SymbolButton(QStringLiteral("checkmark.shield"), QStringLiteral("Verify All"), this);
    connect(verifyAll, &QPushButton::clicked, this, [this] { m_state.verifyNow(); });
    m_verifyAll = verifyAll;
    footer->addWidget(reveal);
    footer->addWidget(verifyAll);
    layout->addLayout(footer);

    connect(&m_state, &app::AppState::runtimeChanged, this, &ActivityTab::refresh);
    connect(&m_state, &app::AppState::jobsChanged, this, &ActivityTab::refresh);
    connect(&m_state, &app::AppState::isRunningChanged, this, &ActivityTab::refresh);
    refresh();
}

void ActivityTab::refresh() {
    auto* page = m_lists->parentWidget();
    while (auto* item = m_lists->takeAt(0)) {
        // Later: the widget may be the one whose signal brought us here.
        if (auto* widget = item->widget()) {
            widget->hide();
            widget->setParent(nullptr);
            widget->deleteLater();
        }
        delete item;
    }
    m_verifyAll->setEnabled(!m_state.jobs().empty() && !m_state.isRunning());
    const auto jobs = activity(jobViews(m_state));
    if (jobs.empty()) {
        auto* clean = new QWidget(page);
        clean->setObjectName(QStringLiteral("noProblems"));
        auto* layout = new QVBoxLayout(clean);
        layout->setContentsMargins(0, 48, 0, 0);
        layout->setSpacing(6);
        auto* symbol = new SymbolLabel(QStringLiteral("checkmark.seal"), 40, clean);
        symbol->setInk(QColor(0x2f, 0xa8, 0x4f));
        layout->addWidget(symbol, 0, Qt::AlignHCenter);
        layout->addSpacing(4);
        layout->addWidget(headingLabel(QStringLiteral("No problems"), clean), 0, Qt::AlignHCenter);
        auto* note = secondaryLabel(QStringLiteral("The last backup and verify of every job finished cleanly."), clean);
        note->setAlignment(Qt::AlignHCenter);
        layout->addWidget(note);
        m_lists->addWidget(clean);
        m_lists->addStretch();
        return;
    }
    for (const auto& job : jobs) {
        auto* card = new Card(page);
        card->setObjectName(QStringLiteral("activity:") + job.jobName);
        auto* layout = new QVBoxLayout(card);
        layout->setContentsMargins(14, 12, 14, 12);
        layout->setSpacing(10);
        layout->addWidget(headingLabel(job.jobName, card));
        for (const auto& list : job.lists)
            layout->addWidget(listWidget(list, card));
        m_lists->addWidget(card);
    }
    m_lists->addStretch();
}

} // namespace lorekeep::ui
