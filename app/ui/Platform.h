#pragma once

namespace lorekeep::ui {

/// The few places where the macOS build words things differently (System Settings, Finder, Photos access).
#ifdef Q_OS_MACOS
inline constexpr bool onMac = true;
#else
inline constexpr bool onMac = false;
#endif

} // namespace lorekeep::ui
