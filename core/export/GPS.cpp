#include "export/GPS.h"

#include <cmath>

namespace lorekeep::GPS {
namespace {

bool refIs(const PropertyDictionary& gps, std::string_view name, std::string_view value) {
    const std::string* text = propertyText(gps, name);
    return text && *text == value;
}

} // namespace

bool gpsNeedsWriting(const PropertyDictionary& gps, double latitude, double longitude) {
    const double* fileLatitude = propertyNumber(gps, ImageProperty::latitude);
    const double* fileLongitude = propertyNumber(gps, ImageProperty::longitude);
    if (!fileLatitude || !fileLongitude)
        return true;
    const double signedLatitude = refIs(gps, ImageProperty::latitudeRef, "S") ? -*fileLatitude : *fileLatitude;
    const double signedLongitude = refIs(gps, ImageProperty::longitudeRef, "W") ? -*fileLongitude : *fileLongitude;
    return std::abs(signedLatitude - latitude) > tolerance || std::abs(signedLongitude - longitude) > tolerance;
}

} // namespace lorekeep::GPS
