#include "export/ImageIOMetadata.h"

namespace lorekeep::imageio {

std::vector<MetadataStep> metadataSteps(const XmpMetadata& metadata) {
    const std::string ours(XMPNamespace::lorekeep);
    const std::string oursPrefix(XMPNamespace::lorekeepPrefix);
    const std::string lightroom(XMPNamespace::lightroom);
    const std::string lightroomPrefix(XMPNamespace::lightroomPrefix);
    auto xmp = [](std::string xmlns, std::string prefix, std::string name, MetadataStep::Value value) {
        return MetadataStep{std::move(xmlns), std::move(prefix), std::move(name), {}, std::move(value)};
    };
    auto image = [](ImageKey key, MetadataStep::Value value) {
        return MetadataStep{{}, {}, {}, key, std::move(value)};
    };

    std::vector<MetadataStep> steps;
    steps.push_back(xmp(ours, oursPrefix, "AssetID", metadata.assetID));
    if (metadata.rating)
        steps.push_back(xmp(xmpBasicNamespace, "xmp", "Rating", static_cast<long long>(*metadata.rating)));
    if (!metadata.subjects.empty())
        steps.push_back(xmp(dublinCoreNamespace, "dc", "subject", Bag{metadata.subjects}));
    if (!metadata.hierarchicalSubjects.empty())
        steps.push_back(xmp(lightroom, lightroomPrefix, "hierarchicalSubject", Bag{metadata.hierarchicalSubjects}));
    if (const auto& date = metadata.date) {
        steps.push_back(image(ImageKey::exifDateTimeOriginal, date->dateTimeOriginal));
        steps.push_back(image(ImageKey::exifOffsetTimeOriginal, date->offsetTimeOriginal));
        steps.push_back(xmp(exifNamespace, "exif", "DateTimeOriginal", xmpDateTime(*date)));
    }
    if (const auto& gps = metadata.gps) {
        steps.push_back(image(ImageKey::gpsLatitude, gps->latitude));
        steps.push_back(image(ImageKey::gpsLatitudeRef, gps->latitudeRef));
        steps.push_back(image(ImageKey::gpsLongitude, gps->longitude));
        steps.push_back(image(ImageKey::gpsLongitudeRef, gps->longitudeRef));
        if (gps->altitude && gps->altitudeRef) {
            steps.push_back(image(ImageKey::gpsAltitude, *gps->altitude));
            steps.push_back(image(ImageKey::gpsAltitudeRef, static_cast<long long>(*gps->altitudeRef)));
        }
    }
    return steps;
}

std::string xmpDateTime(const XmpMetadata::CaptureDate& date) {
    std::string text = date.dateTimeOriginal;
    const std::size_t space = text.find(' ');
    if (space == std::string::npos)
        return text + date.offsetTimeOriginal;
    text[space] = 'T';
    for (std::size_t i = 0, colons = 0; i < space && colons < 2; ++i) {
        if (text[i] == ':') {
            text[i] = '-';
            ++colons;
        }
    }
    return text + date.offsetTimeOriginal;
}

} // namespace lorekeep::imageio
