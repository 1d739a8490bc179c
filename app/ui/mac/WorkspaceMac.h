#pragma once

#include <string>

namespace lorekeep::ui::mac {

/// Opens a Finder window with the file or folder selected.
void revealInFinder(const std::string& path);

/// Opens an address with the application that handles it: "x-apple.systempreferences:" addresses open a pane of
/// System Settings. Returns whether it was handed over.
bool openAddress(const std::string& address);

} // namespace lorekeep::ui::mac
