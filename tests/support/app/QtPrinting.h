#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <ostream>

// GoogleTest prints Qt's texts as text in failure messages, not as bytes.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* out) {
    *out << '{';
    for (qsizetype i = 0; i < list.size(); ++i)
        *out << (i ? ", \"" : "\"") << list[i].toStdString() << '"';
    *out << '}';
}
