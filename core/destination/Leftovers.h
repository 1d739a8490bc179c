#pragma once

#include <filesystem>
#include <string_view>

namespace lorekeep {

/// What runs that were killed leave behind on a destination, and its removal by the next run. Only names the engine
/// makes for its own temporary files are ever touched.
namespace Leftovers {

/// Whether a file name is one of the engine's temporary names: an export's "<file>.partial", a metadata rewrite's
/// "<file>.meta" (older runs wrote those beside every image), or an atomic write's ".<file>.tmp-XXXXXX".
[[nodiscard]] bool isTemporaryName(std::string_view name);

/// Clears ".lorekeep" of temporary index and manifest files, the album staging folder and the link test; puts back
/// an album tree that a killed swap left aside (when "By Album" is missing), or removes it. With `sweepByDate`,
/// also removes files with temporary names anywhere below "By Date", which costs a walk of the whole tree. Failures
/// are passed over: the leftovers are harmless, only untidy.
void clear(const std::filesystem::path& root, bool sweepByDate);

} // namespace Leftovers
} // namespace lorekeep
