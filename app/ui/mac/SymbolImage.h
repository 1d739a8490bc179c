#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lorekeep::ui::mac {

/// A drawn symbol: premultiplied RGBA pixels, row after row from the top.
struct SymbolBitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;

    [[nodiscard]] bool empty() const { return rgba.empty(); }
};

/// Draws the system symbol `name` (SF Symbols) in black, at `pointSize` and regular weight, centred in a square of
/// `pixels`, turned `rotation` degrees clockwise: the shape of a template image. Empty when the system has no
/// symbol of that name.
[[nodiscard]] SymbolBitmap drawSymbol(const std::string& name, const std::string& accessibilityText, double pointSize,
                                      int pixels, double rotation);

} // namespace lorekeep::ui::mac
