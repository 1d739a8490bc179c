#pragma once

#include <QWidget>

class QLabel;
class QHBoxLayout;
class QVBoxLayout;

namespace lorekeep::ui {

class SymbolLabel;

/// One row of a settings card: a symbol, a title with an optional note under it, and controls on the right.
class FormRow : public QWidget {
    Q_OBJECT
public:
    FormRow(const QString& symbol, const QString& title, const QString& note = {}, QWidget* parent = nullptr);

    /// Adds a control at the right-hand end.
    void addControl(QWidget* control);
    /// Adds a line under the title (state texts, extra notes).
    QLabel* addNote(const QString& text);
    /// Adds a row under the whole row, lined up with the title and reaching the controls' right edge.
    void addFooter(QLayout* footer);
    [[nodiscard]] QLabel* title() const { return m_title; }
    [[nodiscard]] QVBoxLayout* textColumn() const { return m_text; }

private:
    QVBoxLayout* m_rows;
    QLabel* m_title;
    QVBoxLayout* m_text;
    QHBoxLayout* m_controls;
};

} // namespace lorekeep::ui
