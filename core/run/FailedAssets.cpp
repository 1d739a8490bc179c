#include "run/FailedAssets.h"

#include "base/AtomicFile.h"
#include "base/Json.h"
#include "base/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>

namespace lorekeep {

FailedAssets FailedAssets::load(const std::filesystem::path& root) {
    std::ifstream in(root / path, std::ios::binary);
    if (!in)
        return {};
    std::ostringstream text;
    text << in.rdbuf();
    try {
        return fromJson(text.str());
    } catch (const std::exception&) {
        return {};
    }
}

void FailedAssets::save(const std::filesystem::path& root) const {
    const std::filesystem::path file = root / path;
    if (m_identifiers.empty()) {
        std::error_code error;
        std::filesystem::remove(file, error);
        if (error)
            throw std::filesystem::filesystem_error("cannot remove", file, error);
        return;
    }
    std::filesystem::create_directories(file.parent_path());
    AtomicFile::write(file, toJson());
}

std::string FailedAssets::toJson() const {
    JsonWriter writer;
    writer.startObject();
    writer.key("version");
    writer.integer(1);
    writer.key("identifiers");
    writer.startArray();
    for (const std::string& identifier : m_identifiers)
        writer.string(identifier);
    writer.endArray();
    writer.endObject();
    return std::move(writer.output());
}

FailedAssets FailedAssets::fromJson(std::string_view text) {
    const json::Value document = json::parse(text);
    const json::Value& object = json::asObject(document, "failed assets");
    if (json::requiredInt64(object, "version") != 1)
        throw JsonError("failed assets: unknown version");
    FailedAssets record;
    for (const json::Value& element : json::requiredArray(object, "identifiers"))
        record.add(json::stringElement(element, "identifiers"));
    return record;
}

} // namespace lorekeep
