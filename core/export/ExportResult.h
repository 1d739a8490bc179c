#pragma once

#include "base/Date.h"
#include "base/Json.h"
#include "base/JsonWriter.h"
#include "export/MetadataMode.h"
#include "library/FilePlan.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

struct ExportResult;

/// What is known about one file while it is being exported; filled step by step, then turned into a result.
struct ExportDraft {
    PlannedFile file;
    Date start = Date::now();
    std::optional<std::int64_t> bytes;
    /// Hash of the bytes as the library delivered them, before metadata.
    std::optional<std::string> sourceSha256;
    /// Hash of the bytes as written to the destination.
    std::optional<std::string> sha256;
    std::optional<MetadataMode> metadata;
    std::vector<std::string> metadataFields;
    std::optional<std::string> metadataNote;
    /// Sidecar path relative to the destination root.
    std::optional<std::string> xmpPath;
    /// The data had to be fetched with network access.
    bool downloaded = false;
    /// The edit was rendered rather than copied.
    bool renderedEdit = false;
    /// Why the export ended without a file.
    std::optional<std::string> error;

    /// The finished record, its duration measured up to `now`.
    [[nodiscard]] ExportResult finish(Date now = Date::now()) const;
};

/// The outcome of one exported file. Failures are carried in `error`, never thrown.
struct ExportResult {
    FileRole role = FileRole::original;
    std::string relativePath;
    std::string resourceFilename;
    std::string uti;
    std::optional<std::int64_t> bytes;
    std::optional<std::string> sourceSha256;
    std::optional<std::string> sha256;
    std::optional<MetadataMode> metadata;
    std::vector<std::string> metadataFields;
    std::optional<std::string> metadataNote;
    std::optional<std::string> xmpPath;
    double seconds = 0;
    bool downloadedFromICloud = false;
    bool renderedEdit = false;
    std::optional<std::string> error;

    bool succeeded() const { return !error; }

    /// Keys named after the fields, in field order; absent values left out.
    void encode(JsonWriter& writer) const;
    [[nodiscard]] std::string toJson() const;
    /// Missing optional keys are absent; a missing required key or a wrong type throws JsonError.
    static ExportResult decode(const json::Value& object);
    static ExportResult fromJson(std::string_view text);

    friend bool operator==(const ExportResult&, const ExportResult&) = default;
};

} // namespace lorekeep
