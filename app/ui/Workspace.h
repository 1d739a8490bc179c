#pragma once

#include <QString>
#include <QUrl>

namespace lorekeep::ui {

/// The file manager's name in button texts: "Finder" on macOS, "File Manager" elsewhere.
[[nodiscard]] QString fileManagerName();

/// Shows a file or folder in the file manager: Finder selects it; elsewhere the folder (or the file's folder)
/// is opened.
void revealInFileManager(const QString& path);

/// Whether this platform has System Settings panes to open ("x-apple.systempreferences:" addresses).
[[nodiscard]] bool hasSystemSettings();
/// Opens a pane of System Settings by its address; false where there is none.
bool openSystemSettings(const QString& address);

/// Opens a web page in the user's browser.
void openWebPage(const QUrl& address);

/// The addresses of the product's own web pages.
inline constexpr const char* bugReportAddress = "https://lorekeep.app/report-a-bug";
inline constexpr const char* donationAddress = "https://lorekeep.app/support";

/// System Settings panes.
inline constexpr const char* notificationSettingsAddress =
    "x-apple.systempreferences:com.apple.Notifications-Settings.extension";
inline constexpr const char* fullDiskAccessAddress =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles";
inline constexpr const char* loginItemsAddress = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";

} // namespace lorekeep::ui
