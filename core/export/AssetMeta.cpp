#include "export/AssetMeta.h"

#include "base/JsonWriter.h"
#include "library/PhotoLibrary.h"

#include <nlohmann/json.hpp>

namespace lorekeep {

AssetMeta AssetMeta::make(const Asset& asset, const std::vector<AssetResource>& resources,
                          std::vector<std::string> albumTitles) {
    AssetMeta meta{
        .localIdentifier = asset.localIdentifier,
        .creationDate = asset.creationDate,
        .favorite = asset.favorite,
        .mediaType = std::string(mediaTypeName(asset.mediaType)),
        .albums = std::move(albumTitles),
    };
    for (const AssetResource& resource : resources) {
        if (resource.type == ResourceType::photo || resource.type == ResourceType::video ||
            resource.type == ResourceType::audio) {
            meta.originalFilename = resource.originalFilename;
            break;
        }
    }
    if (asset.location) {
        meta.latitude = asset.location->latitude;
        meta.longitude = asset.location->longitude;
        meta.altitude = asset.location->altitude;
    }
    for (const auto& [bits, name] : subtypeNames) {
        if ((asset.mediaSubtypes & bits) == bits)
            meta.subtypes.emplace_back(name);
    }
    return meta;
}

AssetMeta AssetMeta::make(PhotoLibrary& library, const Asset& asset, const std::vector<AssetResource>& resources) {
    std::vector<std::string> titles;
    try {
        for (const Collection& collection : library.albumsContaining(asset.localIdentifier)) {
            if (collection.kind == CollectionKind::album && collection.title)
                titles.push_back(*collection.title);
        }
    } catch (const std::exception&) {
        // The record is still worth writing without album titles; the albums pass reports library trouble.
        titles.clear();
    }
    return make(asset, resources, std::move(titles));
}

std::string_view AssetMeta::mediaTypeName(MediaType type) {
    switch (type) {
    case MediaType::image:
        return "image";
    case MediaType::video:
        return "video";
    case MediaType::audio:
        return "audio";
    default:
        return "unknown";
    }
}

std::string AssetMeta::toJson() const {
    JsonWriter writer({.pretty = true, .escapeSlashes = false});
    const auto strings = [&](const char* key, const std::vector<std::string>& values) {
        writer.key(key);
        writer.startArray();
        for (const std::string& value : values)
            writer.string(value);
        writer.endArray();
    };
    const auto number = [&](const char* key, const std::optional<double>& value) {
        if (value) {
            writer.key(key);
            writer.number(*value);
        }
    };
    // Keys in sorted order.
    writer.startObject();
    strings("albums", albums);
    number("altitude", altitude);
    if (creationDate) {
        writer.key("creationDate");
        writer.string(creationDate->iso8601());
    }
    writer.key("favorite");
    writer.boolean(favorite);
    number("latitude", latitude);
    writer.key("localIdentifier");
    writer.string(localIdentifier);
    number("longitude", longitude);
    writer.key("mediaType");
    writer.string(mediaType);
    if (originalFilename) {
        writer.key("originalFilename");
        writer.string(*originalFilename);
    }
    strings("subtypes", subtypes);
    writer.endObject();
    return std::move(writer.output());
}

AssetMeta AssetMeta::decode(const json::Value& value) {
    const json::Value& object = json::asObject(value, "an asset record");
    const auto strings = [&](const char* key) {
        std::vector<std::string> values;
        for (const json::Value& element : json::requiredArray(object, key))
            values.push_back(json::stringElement(element, key));
        return values;
    };
    AssetMeta meta{
        .localIdentifier = json::requiredString(object, "localIdentifier"),
        .originalFilename = json::optionalString(object, "originalFilename"),
        .latitude = json::optionalNumber(object, "latitude"),
        .longitude = json::optionalNumber(object, "longitude"),
        .altitude = json::optionalNumber(object, "altitude"),
        .favorite = json::requiredBool(object, "favorite"),
        .mediaType = json::requiredString(object, "mediaType"),
        .subtypes = strings("subtypes"),
        .albums = strings("albums"),
    };
    if (const auto text = json::optionalString(object, "creationDate")) {
        meta.creationDate = Date::fromIso8601(*text);
        if (!meta.creationDate)
            throw JsonError("\"creationDate\" is not an ISO 8601 date: \"" + *text + "\"");
    }
    return meta;
}

AssetMeta AssetMeta::fromJson(std::string_view text) {
    return decode(json::parse(text));
}

} // namespace lorekeep
