#include "FormRow.h"

#include "Controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace lorekeep::ui {

FormRow::FormRow(const QString& symbol, const QString& title, const QString& note, QWidget* parent) : QWidget(parent) {
    m_rows = new QVBoxLayout(this);
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(6);
    auto* layout = new QHBoxLayout;
    layout->setSpacing(12);
    m_rows->addLayout(layout);
    auto* icon = new SymbolLabel(symbol, 18, this);
    layout->addWidget(icon, 0, Qt::AlignTop);
    m_text = new QVBoxLayout;
    m_text->setSpacing(2);
    m_title = new QLabel(title, this);
    m_title->setWordWrap(true);
    m_text->addWidget(m_title);
    if (!note.isEmpty())
        addNote(note);
    layout->addLayout(m_text, 1);
    m_controls = new QHBoxLayout;
    m_controls->setSpacing(8);
    layout->addLayout(m_controls);
}

void FormRow::addFooter(QLayout* footer) {
    // Lined up with the title: the symbol's width and the spacing after it.
    footer->setContentsMargins(18 + 12, 0, 0, 0);
    m_rows->addLayout(footer);
}

void FormRow::addControl(QWidget* control) {
    m_controls->addWidget(control, 0, Qt::AlignTop);
}

QLabel* FormRow::addNote(const QString& text) {
    auto* label = secondaryLabel(text, this);
    m_text->addWidget(label);
    return label;
}

} // namespace lorekeep::ui
