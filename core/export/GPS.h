#pragma once

#include "export/ImageProperties.h"

namespace lorekeep {

/// The rule that decides whether a file's GPS position is replaced by the library's.
namespace GPS {

/// Positions closer than this, in degrees on either axis, are the same place.
inline constexpr double tolerance = 0.0001;

/// Yes when the file has no readable latitude and longitude, or when either differs from the library's by more
/// than the tolerance. Altitude is not compared.
bool gpsNeedsWriting(const PropertyDictionary& gps, double latitude, double longitude);

} // namespace GPS
} // namespace lorekeep
