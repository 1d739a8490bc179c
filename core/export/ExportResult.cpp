#include "export/ExportResult.h"

#include <nlohmann/json.hpp>

#include <array>

namespace lorekeep {
namespace {

constexpr std::array<std::string_view, 3> modeNames{"embedded", "xmpSidecar", "skipped"};

} // namespace

std::string_view toString(MetadataMode mode) {
    return modeNames.at(static_cast<std::size_t>(mode));
}

std::optional<MetadataMode> metadataModeFromString(std::string_view text) {
    for (std::size_t i = 0; i < modeNames.size(); ++i) {
        if (modeNames[i] == text)
            return static_cast<MetadataMode>(i);
    }
    return std::nullopt;
}

ExportResult ExportDraft::finish(Date now) const {
    return {
        .role = file.role,
        .relativePath = file.relativePath,
        .resourceFilename = file.resource.originalFilename,
        .uti = file.resource.uniformTypeIdentifier,
        .bytes = bytes,
        .sourceSha256 = sourceSha256,
        .sha256 = sha256,
        .metadata = metadata,
        .metadataFields = metadataFields,
        .metadataNote = metadataNote,
        .xmpPath = xmpPath,
        .seconds = now.referenceSeconds() - start.referenceSeconds(),
        .downloadedFromICloud = downloaded,
        .renderedEdit = renderedEdit,
        .error = error,
    };
}

void ExportResult::encode(JsonWriter& writer) const {
    const auto text = [&](const char* key, const std::optional<std::string>& value) {
        if (value) {
            writer.key(key);
            writer.string(*value);
        }
    };
    writer.startObject();
    writer.key("role");
    writer.string(toString(role));
    writer.key("relativePath");
    writer.string(relativePath);
    writer.key("resourceFilename");
    writer.string(resourceFilename);
    writer.key("uti");
    writer.string(uti);
    if (bytes) {
        writer.key("bytes");
        writer.integer(*bytes);
    }
    text("sourceSha256", sourceSha256);
    text("sha256", sha256);
    if (metadata) {
        writer.key("metadata");
        writer.string(toString(*metadata));
    }
    writer.key("metadataFields");
    writer.startArray();
    for (const std::string& field : metadataFields)
        writer.string(field);
    writer.endArray();
    text("metadataNote", metadataNote);
    text("xmpPath", xmpPath);
    writer.key("seconds");
    writer.number(seconds);
    writer.key("downloadedFromICloud");
    writer.boolean(downloadedFromICloud);
    writer.key("renderedEdit");
    writer.boolean(renderedEdit);
    text("error", error);
    writer.endObject();
}

std::string ExportResult::toJson() const {
    JsonWriter writer;
    encode(writer);
    return std::move(writer.output());
}

ExportResult ExportResult::decode(const json::Value& value) {
    const json::Value& object = json::asObject(value, "an export result");
    ExportResult result;
    const std::string role = json::requiredString(object, "role");
    const auto parsedRole = fileRoleFromString(role);
    if (!parsedRole)
        throw JsonError("unknown file role \"" + role + "\"");
    result.role = *parsedRole;
    result.relativePath = json::requiredString(object, "relativePath");
    result.resourceFilename = json::requiredString(object, "resourceFilename");
    result.uti = json::requiredString(object, "uti");
    result.bytes = json::optionalInt64(object, "bytes");
    result.sourceSha256 = json::optionalString(object, "sourceSha256");
    result.sha256 = json::optionalString(object, "sha256");
    if (const auto mode = json::optionalString(object, "metadata")) {
        result.metadata = metadataModeFromString(*mode);
        if (!result.metadata)
            throw JsonError("unknown metadata mode \"" + *mode + "\"");
    }
    for (const json::Value& field : json::requiredArray(object, "metadataFields"))
        result.metadataFields.push_back(json::stringElement(field, "metadataFields"));
    result.metadataNote = json::optionalString(object, "metadataNote");
    result.xmpPath = json::optionalString(object, "xmpPath");
    result.seconds = json::requiredNumber(object, "seconds");
    result.downloadedFromICloud = json::requiredBool(object, "downloadedFromICloud");
    result.renderedEdit = json::requiredBool(object, "renderedEdit");
    result.error = json::optionalString(object, "error");
    return result;
}

ExportResult ExportResult::fromJson(std::string_view text) {
    return decode(json::parse(text));
}

} // namespace lorekeep
