#include "Controls.h"

#include "Symbols.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

namespace lorekeep::ui {

QColor secondaryTextColor(const QPalette& palette) {
    const QColor text = palette.color(QPalette::WindowText);
    const QColor back = palette.color(QPalette::Window);
    const qreal keep = 0.66;
    return QColor::fromRgbF(float(text.redF() * keep + back.redF() * (1 - keep)),
                            float(text.greenF() * keep + back.greenF() * (1 - keep)),
                            float(text.blueF() * keep + back.blueF() * (1 - keep)));
}

Switch::Switch(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const {
    return {38, 22};
}

void Switch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).adjusted(1, 2, -1, -2);
    const qreal radius = track.height() / 2;
    const bool on = isChecked();
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    QColor fill = on     ? palette().color(QPalette::Highlight)
                  : dark ? QColor(0x5c, 0x5c, 0x61)
                         : QColor(0xc7, 0xc7, 0xcc);
    if (!isEnabled())
        fill.setAlphaF(0.45f);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(track, radius, radius);
    const qreal knob = track.height() - 4;
    const qreal x = on ? track.right() - 2 - knob : track.left() + 2;
    painter.setBrush(isEnabled() ? QColor(Qt::white) : QColor(0xf0, 0xf0, 0xf0));
    painter.setPen(QPen(QColor(0, 0, 0, 40), 0.8));
    painter.drawEllipse(QRectF(x, track.top() + 2, knob, knob));
    if (hasFocus()) {
        QColor ring = palette().color(QPalette::Highlight);
        ring.setAlphaF(0.5f);
        painter.setPen(QPen(ring, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(track.adjusted(-1, -1, 1, 1), radius + 1, radius + 1);
    }
}

SymbolLabel::SymbolLabel(const QString& symbol, int size, QWidget* parent)
    : QLabel(parent), m_symbol(symbol), m_size(size) {
    setFixedSize(size, size);
    redraw();
}

void SymbolLabel::setSymbol(const QString& symbol) {
    m_symbol = symbol;
    redraw();
}

void SymbolLabel::setInk(const QColor& ink) {
    m_ink = ink;
    redraw();
}

void SymbolLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        redraw();
}

void SymbolLabel::redraw() {
    const QColor ink = m_ink.isValid() ? m_ink : palette().color(QPalette::WindowText);
    setPixmap(symbolPixmap(m_symbol, ink, m_size, devicePixelRatioF()));
}

SymbolButton::SymbolButton(const QString& symbol, const QString& text, QWidget* parent)
    : QPushButton(text, parent), m_symbol(symbol) {
    setIcon(symbolIcon(m_symbol, palette().color(QPalette::ButtonText)));
    setIconSize(QSize(16, 16));
}

void SymbolButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        setIcon(symbolIcon(m_symbol, palette().color(QPalette::ButtonText)));
}

Card::Card(QWidget* parent) : QFrame(parent) {
    setAttribute(Qt::WA_StyledBackground, false);
}

void Card::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor window = palette().color(QPalette::Window);
    const bool dark = window.lightness() < 128;
    const QColor fill = dark ? window.lighter(125) : palette().color(QPalette::Base);
    QColor edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(dark ? 0.14f : 0.12f);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
}

QLabel* secondaryLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    label->setPalette(palette);
    return label;
}

QLabel* headingLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.08);
    label->setFont(font);
    return label;
}

} // namespace lorekeep::ui
