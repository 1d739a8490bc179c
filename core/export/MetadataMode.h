#pragma once

#include <optional>
#include <string_view>

namespace lorekeep {

/// How a file's metadata was written.
enum class MetadataMode { embedded, xmpSidecar, skipped };

std::string_view toString(MetadataMode mode);
/// The mode for a stored text, or nothing for an unknown text.
std::optional<MetadataMode> metadataModeFromString(std::string_view text);

} // namespace lorekeep
