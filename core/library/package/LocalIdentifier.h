#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// The local identifiers of a library's objects: the row's UUID followed by "/L0/" and a kind code, as Photos
/// gives them ("<UUID>/L0/001" for an asset).
namespace LocalIdentifier {

enum class Kind { asset, album, folder };

[[nodiscard]] std::string make(std::string_view uuid, Kind kind);
/// The UUID of an identifier of that kind; nothing for text of another form.
[[nodiscard]] std::optional<std::string> uuid(std::string_view identifier, Kind kind);
/// Whether text has the form of a UUID (8-4-4-4-12 hexadecimal digits).
[[nodiscard]] bool isUuid(std::string_view text);

} // namespace LocalIdentifier

} // namespace lorekeep
