#include "CameraFiles.h"

#include "JpegEncoder.h"
#include "TiffDirectory.h"

#include <cmath>
#include <cstdint>

namespace lorekeep::sample {
namespace {

namespace tag {
constexpr std::uint16_t newSubfileType = 0x00fe;
constexpr std::uint16_t imageWidth = 0x0100;
constexpr std::uint16_t imageLength = 0x0101;
constexpr std::uint16_t bitsPerSample = 0x0102;
constexpr std::uint16_t compression = 0x0103;
constexpr std::uint16_t photometric = 0x0106;
constexpr std::uint16_t make = 0x010f;
constexpr std::uint16_t model = 0x0110;
constexpr std::uint16_t orientation = 0x0112;
constexpr std::uint16_t samplesPerPixel = 0x0115;
constexpr std::uint16_t rowsPerStrip = 0x0116;
constexpr std::uint16_t xResolution = 0x011a;
constexpr std::uint16_t yResolution = 0x011b;
constexpr std::uint16_t planarConfiguration = 0x011c;
constexpr std::uint16_t resolutionUnit = 0x0128;
constexpr std::uint16_t software = 0x0131;
constexpr std::uint16_t dateTime = 0x0132;
constexpr std::uint16_t subIfds = 0x014a;
constexpr std::uint16_t yCbCrPositioning = 0x0213;
constexpr std::uint16_t cfaRepeatPatternDim = 0x828d;
constexpr std::uint16_t cfaPattern = 0x828e;
constexpr std::uint16_t exifIfd = 0x8769;
constexpr std::uint16_t gpsIfd = 0x8825;
constexpr std::uint16_t exifVersion = 0x9000;
constexpr std::uint16_t dateTimeOriginal = 0x9003;
constexpr std::uint16_t dateTimeDigitized = 0x9004;
constexpr std::uint16_t offsetTime = 0x9010;
constexpr std::uint16_t offsetTimeOriginal = 0x9011;
constexpr std::uint16_t offsetTimeDigitized = 0x9012;
constexpr std::uint16_t componentsConfiguration = 0x9101;
constexpr std::uint16_t flashpixVersion = 0xa000;
constexpr std::uint16_t colorSpace = 0xa001;
constexpr std::uint16_t pixelXDimension = 0xa002;
constexpr std::uint16_t pixelYDimension = 0xa003;
constexpr std::uint16_t dngVersion = 0xc612;
constexpr std::uint16_t dngBackwardVersion = 0xc613;
constexpr std::uint16_t uniqueCameraModel = 0xc614;
constexpr std::uint16_t cfaPlaneColor = 0xc616;
constexpr std::uint16_t cfaLayout = 0xc617;
constexpr std::uint16_t linearizationTable = 0xc618;
constexpr std::uint16_t blackLevel = 0xc61a;
constexpr std::uint16_t whiteLevel = 0xc61d;
constexpr std::uint16_t colorMatrix1 = 0xc621;
constexpr std::uint16_t asShotNeutral = 0xc628;
constexpr std::uint16_t calibrationIlluminant1 = 0xc65a;
} // namespace tag

namespace gps {
constexpr std::uint16_t versionId = 0x0000;
constexpr std::uint16_t latitudeRef = 0x0001;
constexpr std::uint16_t latitude = 0x0002;
constexpr std::uint16_t longitudeRef = 0x0003;
constexpr std::uint16_t longitude = 0x0004;
constexpr std::uint16_t altitudeRef = 0x0005;
constexpr std::uint16_t altitude = 0x0006;
} // namespace gps

constexpr const char* softwareName = "lorekeep_sample_library";

/// Degrees, minutes and seconds (to 1/10000 s) of an angle's magnitude.
std::vector<std::pair<std::uint32_t, std::uint32_t>> degreesMinutesSeconds(double angle) {
    const double magnitude = std::abs(angle);
    const auto degrees = static_cast<std::uint32_t>(magnitude);
    const double minutesFull = (magnitude - degrees) * 60;
    const auto minutes = static_cast<std::uint32_t>(minutesFull);
    const auto seconds = static_cast<std::uint32_t>(std::lround((minutesFull - minutes) * 60 * 10000));
    return {{degrees, 1}, {minutes, 1}, {seconds, 10000}};
}

TiffDirectory exifDirectory(const SampleAsset& asset, int width, int height) {
    TiffDirectory exif;
    exif.undefinedBytes(tag::exifVersion, "0232")
        .text(tag::dateTimeOriginal, asset.taken.exifText())
        .text(tag::dateTimeDigitized, asset.taken.exifText())
        .text(tag::offsetTime, asset.taken.offsetText())
        .text(tag::offsetTimeOriginal, asset.taken.offsetText())
        .text(tag::offsetTimeDigitized, asset.taken.offsetText())
        .undefinedBytes(tag::componentsConfiguration, std::string("\1\2\3\0", 4))
        .undefinedBytes(tag::flashpixVersion, "0100")
        .shorts(tag::colorSpace, {1})
        .longs(tag::pixelXDimension, {static_cast<std::uint32_t>(width)})
        .longs(tag::pixelYDimension, {static_cast<std::uint32_t>(height)});
    return exif;
}

TiffDirectory gpsDirectory(const Place& place) {
    TiffDirectory directory;
    directory.bytes(gps::versionId, {2, 3, 0, 0})
        .text(gps::latitudeRef, place.latitude < 0 ? "S" : "N")
        .rationals(gps::latitude, degreesMinutesSeconds(place.latitude))
        .text(gps::longitudeRef, place.longitude < 0 ? "W" : "E")
        .rationals(gps::longitude, degreesMinutesSeconds(place.longitude))
        .bytes(gps::altitudeRef, {static_cast<std::uint8_t>(place.altitude < 0 ? 1 : 0)})
        .rationals(gps::altitude, {{static_cast<std::uint32_t>(std::lround(std::abs(place.altitude) * 100)), 100}});
    return directory;
}

/// The camera's tags of IFD0, shared by the JPEG's Exif and the DNG.
void describeCamera(TiffDirectory& directory, const SampleAsset& asset) {
    directory.text(tag::make, CameraFiles::make)
        .text(tag::model, CameraFiles::model)
        .shorts(tag::orientation, {1})
        .text(tag::software, softwareName)
        .text(tag::dateTime, asset.taken.exifText());
    if (asset.place)
        directory.child(tag::gpsIfd, gpsDirectory(*asset.place));
}

std::string rgbBytes(const Picture& picture) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(picture.width()) * picture.height() * 3);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const Rgb pixel = picture.at(x, y);
            bytes.push_back(static_cast<char>(pixel.red));
            bytes.push_back(static_cast<char>(pixel.green));
            bytes.push_back(static_cast<char>(pixel.blue));
        }
    }
    return bytes;
}

/// An RGGB Bayer mosaic of the picture. Its 8-bit samples keep the picture's sRGB coding; the linearisation table
/// of the DNG turns them back into linear light.
std::string mosaic(const Picture& picture) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(picture.width()) * picture.height());
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const Rgb pixel = picture.at(x, y);
            const bool evenRow = y % 2 == 0;
            const bool evenColumn = x % 2 == 0;
            const std::uint8_t value = evenRow && evenColumn     ? pixel.red
                                       : !evenRow && !evenColumn ? pixel.blue
                                                                 : pixel.green;
            bytes.push_back(static_cast<char>(value));
        }
    }
    return bytes;
}

std::vector<std::uint16_t> srgbLinearisation() {
    std::vector<std::uint16_t> table;
    for (int code = 0; code < 256; ++code) {
        const double encoded = code / 255.0;
        const double linear = encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
        table.push_back(static_cast<std::uint16_t>(std::lround(linear * 65535)));
    }
    return table;
}

} // namespace

std::string CameraFiles::jpeg(const Picture& picture, const SampleAsset& asset) {
    TiffDirectory ifd0;
    describeCamera(ifd0, asset);
    ifd0.rationals(tag::xResolution, {{72, 1}})
        .rationals(tag::yResolution, {{72, 1}})
        .shorts(tag::resolutionUnit, {2})
        .shorts(tag::yCbCrPositioning, {1})
        .child(tag::exifIfd, exifDirectory(asset, picture.width(), picture.height()));
    return JpegEncoder(85).encode(picture, ifd0.build());
}

std::string CameraFiles::dng(const Picture& picture, const SampleAsset& asset) {
    const auto width = static_cast<std::uint32_t>(picture.width());
    const auto height = static_cast<std::uint32_t>(picture.height());

    TiffDirectory raw;
    raw.longs(tag::newSubfileType, {0})
        .longs(tag::imageWidth, {width})
        .longs(tag::imageLength, {height})
        .shorts(tag::bitsPerSample, {8})
        .shorts(tag::compression, {1})
        .shorts(tag::photometric, {32803}) // colour filter array
        .shorts(tag::samplesPerPixel, {1})
        .longs(tag::rowsPerStrip, {height})
        .shorts(tag::planarConfiguration, {1})
        .shorts(tag::cfaRepeatPatternDim, {2, 2})
        .bytes(tag::cfaPattern, {0, 1, 1, 2})
        .bytes(tag::cfaPlaneColor, {0, 1, 2})
        .shorts(tag::cfaLayout, {1})
        .shorts(tag::linearizationTable, srgbLinearisation())
        .shorts(tag::blackLevel, {0})
        .longs(tag::whiteLevel, {65535})
        .strip(mosaic(picture));

    const Picture preview = picture.halved().halved();
    TiffDirectory ifd0;
    describeCamera(ifd0, asset);
    ifd0.longs(tag::newSubfileType, {1}) // a reduced-resolution preview
        .longs(tag::imageWidth, {static_cast<std::uint32_t>(preview.width())})
        .longs(tag::imageLength, {static_cast<std::uint32_t>(preview.height())})
        .shorts(tag::bitsPerSample, {8, 8, 8})
        .shorts(tag::compression, {1})
        .shorts(tag::photometric, {2})
        .shorts(tag::samplesPerPixel, {3})
        .longs(tag::rowsPerStrip, {static_cast<std::uint32_t>(preview.height())})
        .shorts(tag::planarConfiguration, {1})
        .child(tag::subIfds, std::move(raw))
        .child(tag::exifIfd, exifDirectory(asset, picture.width(), picture.height()))
        .bytes(tag::dngVersion, {1, 4, 0, 0})
        .bytes(tag::dngBackwardVersion, {1, 1, 0, 0})
        .text(tag::uniqueCameraModel, std::string(make) + " " + model)
        // The sensor sees linear sRGB: the colour matrix is the one from CIE XYZ (D65) to linear sRGB.
        .signedRationals(tag::colorMatrix1, {{32405, 10000},
                                             {-15371, 10000},
                                             {-4985, 10000},
                                             {-9693, 10000},
                                             {18760, 10000},
                                             {416, 10000},
                                             {556, 10000},
                                             {-2040, 10000},
                                             {10572, 10000}})
        .rationals(tag::asShotNeutral, {{1, 1}, {1, 1}, {1, 1}})
        .shorts(tag::calibrationIlluminant1, {21}) // D65
        .strip(rgbBytes(preview));
    return ifd0.build();
}

} // namespace lorekeep::sample
