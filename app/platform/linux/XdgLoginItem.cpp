#include "XdgLoginItem.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace lorekeep::app {

namespace {

const QString entryName = QStringLiteral("lorekeep.desktop");
const QString mainGroup = QStringLiteral("[Desktop Entry]");

// Characters that make an argument of an Exec key need quotes.
bool needsQuotes(const QString& argument) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    if (argument.isEmpty())
        return true;
    for (const QChar c : argument)
        if (reserved.contains(c))
            return true;
    return false;
}

QString quoted(const QString& argument) {
    if (!needsQuotes(argument))
        return argument;
    QString result = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            result += u'\\';
        result += c;
    }
    return result + u'"';
}

// The escapes of a desktop file's string values, undone and done.
QString escapedValue(const QString& value) {
    QString result;
    for (const QChar c : value) {
        if (c == u'\\')
            result += QStringLiteral("\\\\");
        else if (c == u'\n')
            result += QStringLiteral("\\n");
        else if (c == u'\t')
            result += QStringLiteral("\\t");
        else if (c == u'\r')
            result += QStringLiteral("\\r");
        else
            result += c;
    }
    return result;
}

QString unescapedValue(const QString& value) {
    QString result;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != u'\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        const QChar next = value[++i];
        if (next == u's')
            result += u' ';
        else if (next == u'n')
            result += u'\n';
        else if (next == u't')
            result += u'\t';
        else if (next == u'r')
            result += u'\r';
        else
            result += next;
    }
    return result;
}

// The value of `key` in the main group, or a null string.
QString mainValue(const QString& entryText, const QString& key) {
    bool inMain = false;
    for (const QString& rawLine : entryText.split(u'\n')) {
        const QString line = rawLine.trimmed();
        if (line.startsWith(u'[')) {
            inMain = line == mainGroup;
            continue;
        }
        if (!inMain || line.startsWith(u'#'))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals > 0 && line.left(equals).trimmed() == key)
            return unescapedValue(line.mid(equals + 1).trimmed());
    }
    return {};
}

} // namespace

XdgLoginItem::XdgLoginItem(QString autostartFolder, QString program, QStringList arguments)
    : m_folder(std::move(autostartFolder)), m_commandLine(QStringList{std::move(program)} + arguments) {}

QString XdgLoginItem::entryPath() const {
    return QDir(m_folder).filePath(entryName);
}

LoginItem::Status XdgLoginItem::status() const {
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return Status::notRegistered;
    const QString text = QString::fromUtf8(file.readAll());
    // An entry left behind by a copy of the application elsewhere does not start this one.
    return isActive(text) && commandLineOf(text) == m_commandLine ? Status::enabled : Status::notRegistered;
}

std::optional<QString> XdgLoginItem::registerItem() {
    if (!QDir().mkpath(m_folder))
        return QStringLiteral("Could not create the folder %1.").arg(m_folder);
    // Written beside the entry and renamed over it, so that a desktop reading at login never sees half of it.
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly)) {
        return QStringLiteral("Could not write %1: %2").arg(entryPath(), file.errorString());
    }
    file.write(entryText(m_commandLine).toUtf8());
    if (!file.commit())
        return QStringLiteral("Could not write %1: %2").arg(entryPath(), file.errorString());
    return std::nullopt;
}

std::optional<QString> XdgLoginItem::unregisterItem() {
    QFile file(entryPath());
    if (!file.exists() || file.remove())
        return std::nullopt;
    return QStringLiteral("Could not remove %1: %2").arg(entryPath(), file.errorString());
}

QString XdgLoginItem::entryText(const QStringList& commandLine) {
    QStringList parts;
    for (const QString& argument : commandLine)
        parts << quoted(argument).replace(u'%', QStringLiteral("%%"));
    return mainGroup +
           QStringLiteral("\nType=Application\nName=Lorekeep\n"
                          "Comment=Backs up the Photos library in the background\n"
                          "Exec=") +
           escapedValue(parts.join(u' ')) + QStringLiteral("\nTerminal=false\nX-GNOME-Autostart-enabled=true\n");
}

QStringList XdgLoginItem::commandLineOf(const QString& entryText) {
    const QString exec = mainValue(entryText, QStringLiteral("Exec"));
    QStringList result;
    QString current;
    bool inArgument = false;
    bool inQuotes = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (inQuotes) {
            if (c == u'\\' && i + 1 < exec.size())
                current += exec[++i];
            else if (c == u'"')
                inQuotes = false;
            else if (c == u'%' && i + 1 < exec.size() && exec[i + 1] == u'%')
                current += exec[++i];
            else
                current += c;
        } else if (c == u' ' || c == u'\t') {
            if (inArgument)
                result << current;
            current.clear();
            inArgument = false;
            continue;
        } else if (c == u'"') {
            inQuotes = true;
        } else if (c == u'%' && i + 1 < exec.size() && exec[i + 1] == u'%') {
            current += u'%';
            ++i;
        } else {
            current += c;
        }
        inArgument = true;
    }
    if (inArgument)
        result << current;
    return result;
}

bool XdgLoginItem::isActive(const QString& entryText) {
    return mainValue(entryText, QStringLiteral("Hidden")).compare(QStringLiteral("true"), Qt::CaseInsensitive) != 0 &&
           mainValue(entryText, QStringLiteral("X-GNOME-Autostart-enabled"))
                   .compare(QStringLiteral("false"), Qt::CaseInsensitive) != 0;
}

} // namespace lorekeep::app
