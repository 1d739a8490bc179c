#include "albums/AlbumManifest.h"

#include "base/AtomicFile.h"
#include "base/Json.h"
#include "base/JsonWriter.h"

#include <fstream>
#include <sstream>

namespace lorekeep {

std::filesystem::path AlbumManifest::location(const std::filesystem::path& root) {
    return root / ".lorekeep" / "album-links.json";
}

std::optional<AlbumManifest> AlbumManifest::load(const std::filesystem::path& root) {
    std::ifstream in(location(root), std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad())
        return std::nullopt;
    try {
        return fromJson(text.str());
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

void AlbumManifest::save(const std::filesystem::path& root) const {
    const std::filesystem::path target = location(root);
    std::filesystem::create_directories(target.parent_path());
    AtomicFile::write(target, toJson());
}

std::string AlbumManifest::toJson() const {
    JsonWriter writer;
    writer.startObject();
    writer.key("mode");
    writer.string(toString(mode));
    writer.key("links");
    writer.startObject();
    for (const auto& [link, target] : links) {
        writer.key(link);
        writer.string(target);
    }
    writer.endObject();
    writer.endObject();
    return std::move(writer.output());
}

AlbumManifest AlbumManifest::fromJson(std::string_view text) {
    const rapidjson::Document document = json::parse(text);
    const json::Value& object = json::asObject(document, "the album manifest");
    AlbumManifest manifest;
    const std::string mode = json::requiredString(object, "mode");
    const auto parsed = linkModeFromString(mode);
    if (!parsed)
        throw JsonError("unknown link mode \"" + mode + "\"");
    manifest.mode = *parsed;
    for (const auto& member : json::requiredObject(object, "links").GetObject()) {
        if (!member.value.IsString())
            throw JsonError("the target of a link is not a string");
        manifest.links.emplace_hint(manifest.links.end(),
                                    std::string(member.name.GetString(), member.name.GetStringLength()),
                                    std::string(member.value.GetString(), member.value.GetStringLength()));
    }
    return manifest;
}

} // namespace lorekeep
