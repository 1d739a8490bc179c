#include "albums/LinkMode.h"

namespace lorekeep {

std::string_view toString(LinkMode mode) {
    return mode == LinkMode::symlink ? "symlink" : "alias";
}

std::optional<LinkMode> linkModeFromString(std::string_view text) {
    if (text == "symlink")
        return LinkMode::symlink;
    if (text == "alias")
        return LinkMode::alias;
    return std::nullopt;
}

} // namespace lorekeep
