#include "library/BackupScope.h"

#include "base/Json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace lorekeep {
namespace {

std::int64_t wholeUnixSeconds(Date date) {
    const double seconds = std::trunc(date.unixSeconds());
    // 2^63 is exactly representable; anything at or beyond it (or NaN) cannot be a key.
    constexpr double limit = 9223372036854775808.0;
    if (!(seconds >= -limit && seconds < limit)) {
        std::fprintf(stderr, "lorekeep: start date %f cannot be written as whole seconds\n", date.unixSeconds());
        std::abort();
    }
    return static_cast<std::int64_t>(seconds);
}

const char* text(bool value) {
    return value ? "true" : "false";
}

} // namespace

std::string BackupScope::scopeKey() const {
    std::string key = "albums=";
    if (!albumIDs) {
        key += "all";
    } else {
        std::vector<std::string> sorted = *albumIDs;
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            if (i > 0)
                key += ',';
            key += sorted[i];
        }
    }
    key += ";photos=";
    key += text(includePhotos);
    key += ";videos=";
    key += text(includeVideos);
    key += ";from=";
    key += startDate ? std::to_string(wholeUnixSeconds(*startDate)) : "-";
    key += ";sharedLibrary=";
    key += text(includeSharedLibrary);
    return key;
}

void BackupScope::encode(JsonWriter& writer) const {
    writer.startObject();
    if (albumIDs) {
        writer.key("albumIDs");
        writer.startArray();
        for (const std::string& id : *albumIDs)
            writer.string(id);
        writer.endArray();
    }
    writer.key("includePhotos");
    writer.boolean(includePhotos);
    writer.key("includeVideos");
    writer.boolean(includeVideos);
    if (startDate) {
        writer.key("startDate");
        writer.number(startDate->referenceSeconds());
    }
    writer.key("includeSharedLibrary");
    writer.boolean(includeSharedLibrary);
    writer.endObject();
}

std::string BackupScope::toJson() const {
    JsonWriter writer;
    encode(writer);
    return std::move(writer.output());
}

BackupScope BackupScope::fromJson(std::string_view text) {
    return decode(json::parse(text));
}

BackupScope BackupScope::decode(const json::Value& value) {
    const json::Value& object = json::asObject(value, "the backup scope");
    BackupScope scope;
    if (const json::Value* albums = json::optionalArray(object, "albumIDs")) {
        scope.albumIDs.emplace();
        for (const json::Value& element : *albums)
            scope.albumIDs->push_back(json::stringElement(element, "albumIDs"));
    }
    scope.includePhotos = json::optionalBool(object, "includePhotos").value_or(true);
    scope.includeVideos = json::optionalBool(object, "includeVideos").value_or(true);
    if (const auto seconds = json::optionalNumber(object, "startDate"))
        scope.startDate = Date::fromReferenceSeconds(*seconds);
    scope.includeSharedLibrary = json::optionalBool(object, "includeSharedLibrary").value_or(false);
    return scope;
}

} // namespace lorekeep
