#include "library/package/LocalIdentifier.h"

#include <cctype>

namespace lorekeep::LocalIdentifier {
namespace {

std::string_view suffix(Kind kind) {
    switch (kind) {
    case Kind::asset:
        return "/L0/001";
    case Kind::album:
        return "/L0/040";
    case Kind::folder:
        return "/L0/020";
    }
    return {};
}

} // namespace

std::string make(std::string_view uuid, Kind kind) {
    return std::string(uuid) + std::string(suffix(kind));
}

std::optional<std::string> uuid(std::string_view identifier, Kind kind) {
    if (!identifier.ends_with(suffix(kind)))
        return std::nullopt;
    identifier.remove_suffix(suffix(kind).size());
    if (!isUuid(identifier))
        return std::nullopt;
    return std::string(identifier);
}

bool isUuid(std::string_view text) {
    if (text.size() != 36)
        return false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool dash = index == 8 || index == 13 || index == 18 || index == 23;
        if (dash ? text[index] != '-' : !std::isxdigit(static_cast<unsigned char>(text[index])))
            return false;
    }
    return true;
}

} // namespace lorekeep::LocalIdentifier
