#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Uniform type identifiers of the files that a library stores, and their file-name extensions.
namespace UniformTypes {

/// The identifier behind a ZCOMPACTUTI code (macOS 12 and later), or "" for a code not known here.
[[nodiscard]] std::string fromCompactCode(std::int64_t code);
/// The identifier of a lower-case extension, or "" when not known here.
[[nodiscard]] std::string fromExtension(std::string_view extension);
/// The lower-case extension Photos gives files of that type, or "" when not known here.
[[nodiscard]] std::string extensionOf(std::string_view identifier);
/// Lower-case extensions of camera RAW files, for finding a RAW file whose type the database does not name.
[[nodiscard]] const std::vector<std::string>& rawExtensions();

} // namespace UniformTypes

} // namespace lorekeep
