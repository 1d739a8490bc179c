#pragma once

#include "../LoginItem.h"

#include <QStringList>

namespace lorekeep::app {

/// The application as an XDG autostart entry: "lorekeep.desktop" in the user's autostart folder
/// ($XDG_CONFIG_HOME/autostart). Never "requires approval": desktops start every entry that is not disabled.
class XdgLoginItem final : public LoginItem {
public:
    /// `program` and `arguments` are what the desktop starts at login.
    XdgLoginItem(QString autostartFolder, QString program, QStringList arguments = {});

    [[nodiscard]] Status status() const override;
    [[nodiscard]] std::optional<QString> registerItem() override;
    [[nodiscard]] std::optional<QString> unregisterItem() override;

    [[nodiscard]] QString entryPath() const;

    /// The entry's text for a command line, with the quoting and escaping desktop files need.
    [[nodiscard]] static QString entryText(const QStringList& commandLine);
    /// The command line of an entry's Exec key, unquoted; empty when it has none.
    [[nodiscard]] static QStringList commandLineOf(const QString& entryText);
    /// Whether the desktop would start the entry at login (not hidden, not switched off).
    [[nodiscard]] static bool isActive(const QString& entryText);

private:
    QString m_folder;
    QStringList m_commandLine;
};

} // namespace lorekeep::app
