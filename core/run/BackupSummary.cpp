#include "run/BackupSummary.h"

#include <string_view>

namespace lorekeep {
namespace {

std::string_view kindName(SharedFilterState::Kind kind) {
    switch (kind) {
    case SharedFilterState::Kind::active:
        return "active";
    case SharedFilterState::Kind::unavailable:
        return "unavailable";
    case SharedFilterState::Kind::included:
        return "included";
    case SharedFilterState::Kind::needsAccess:
        return "needsAccess";
    }
    return "included";
}

void writeLines(JsonWriter& writer, const char* key, const std::vector<std::string>& lines) {
    writer.key(key);
    writer.startArray();
    for (const std::string& line : lines)
        writer.string(line);
    writer.endArray();
}

void writeFilter(JsonWriter& writer, const SharedFilterState& state) {
    writer.startObject();
    writer.key("kind");
    writer.string(kindName(state.kind));
    if (state.kind == SharedFilterState::Kind::active) {
        writer.key("excluding");
        writer.integer(state.excluding);
        writer.key("mayMissRecentChanges");
        writer.boolean(state.mayMissRecentChanges);
    } else if (state.kind == SharedFilterState::Kind::unavailable) {
        writer.key("message");
        writer.string(state.message);
    }
    writer.endObject();
}

void writeAlbums(JsonWriter& writer, const AlbumResult& result) {
    writer.startObject();
    writer.key("mode");
    writer.string(toString(result.mode));
    writer.key("albums");
    writer.integer(result.albums);
    writer.key("links");
    writer.integer(result.links);
    writeLines(writer, "warnings", result.warnings);
    writer.endObject();
}

} // namespace

void BackupSummary::encode(JsonWriter& writer) const {
    writer.startObject();
    writer.key("progress");
    progress.encode(writer);
    writer.key("cancelled");
    writer.boolean(cancelled);
    writer.key("incremental");
    writer.boolean(incremental);
    writer.key("retried");
    writer.integer(retried);
    if (lastSuccessfulRun) {
        writer.key("lastSuccessfulRun");
        writer.number(lastSuccessfulRun->referenceSeconds());
    }
    if (albums) {
        writer.key("albums");
        writeAlbums(writer, *albums);
    }
    writer.key("sharedFilter");
    writeFilter(writer, sharedFilter);
    writeLines(writer, "errors", errors);
    writeLines(writer, "warnings", warnings);
    writer.endObject();
}

std::string BackupSummary::toJson() const {
    JsonWriter writer({.pretty = true, .escapeSlashes = false});
    encode(writer);
    return std::move(writer.output());
}

} // namespace lorekeep
