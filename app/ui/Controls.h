#pragma once

#include <QAbstractButton>
#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace lorekeep::ui {

/// Text a step quieter than the window text: the window text blended towards the background.
[[nodiscard]] QColor secondaryTextColor(const QPalette& palette);

/// An on/off switch: a track with a round knob. Checkable; toggled() says when it moves.
class Switch : public QAbstractButton {
    Q_OBJECT
public:
    explicit Switch(QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A symbol drawn in the window text colour (or a fixed colour), kept in step with the palette.
class SymbolLabel : public QLabel {
    Q_OBJECT
public:
    explicit SymbolLabel(const QString& symbol, int size = 16, QWidget* parent = nullptr);
    void setSymbol(const QString& symbol);
    /// A fixed ink instead of the window text colour; an invalid colour goes back to the palette.
    void setInk(const QColor& ink);

protected:
    void changeEvent(QEvent* event) override;

private:
    void redraw();

    QString m_symbol;
    int m_size;
    QColor m_ink;
};

/// A push button with a symbol, tinted with the button text colour.
class SymbolButton : public QPushButton {
    Q_OBJECT
public:
    SymbolButton(const QString& symbol, const QString& text, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    QString m_symbol;
};

/// A grouped box of the settings window: a rounded panel one step off the window background.
class Card : public QFrame {
    Q_OBJECT
public:
    explicit Card(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A label in the secondary text colour, word-wrapped.
[[nodiscard]] QLabel* secondaryLabel(const QString& text, QWidget* parent = nullptr);
/// A bold label one step larger than the body text.
[[nodiscard]] QLabel* headingLabel(const QString& text, QWidget* parent = nullptr);

} // namespace lorekeep::ui
