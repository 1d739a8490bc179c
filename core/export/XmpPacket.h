#pragma once

#include "export/XmpMetadata.h"

#include <optional>
#include <string>

namespace lorekeep {

/// XMP documents of our metadata written directly as RDF/XML: every value we set is a simple property or a bag of
/// texts, so a general XMP toolkit has nothing to add but time.
namespace XmpPacket {

/// The metadata as an "x:xmpmeta" document, inside "<?xpacket ...?>" processing instructions when `wrapped` (as in
/// an image) or after an XML declaration when not (a sidecar). Nothing when a text holds what XML cannot carry (a
/// control character, or bytes that are not UTF-8): the general toolkit deals with those.
[[nodiscard]] std::optional<std::string> serialize(const XmpMetadata& metadata, bool wrapped);

/// XMP's GPS coordinate: degrees, decimal minutes and the reference ("48,51.34560000N").
[[nodiscard]] std::string coordinate(double degrees, const std::string& ref);

} // namespace XmpPacket
} // namespace lorekeep
