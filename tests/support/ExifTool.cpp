#include "support/ExifTool.h"

#include "base/Json.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace lorekeep::test::ExifTool {
namespace {

std::string quoted(const std::filesystem::path& path) {
    std::string text = "'";
    for (const char c : path.string())
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

std::string run(const std::string& arguments, const std::filesystem::path& file) {
    const std::string command = "exiftool " + arguments + " " + quoted(file) + " 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("cannot run exiftool");
    std::string output;
    char buffer[4096];
    while (const std::size_t read = std::fread(buffer, 1, sizeof buffer, pipe))
        output.append(buffer, read);
    ::pclose(pipe);
    return output;
}

} // namespace

rapidjson::Document tags(const std::filesystem::path& file) {
    rapidjson::Document list = json::parse(run("-j -G1 -n", file));
    if (!list.IsArray() || list.Empty() || !list[0].IsObject())
        throw std::runtime_error("exiftool read nothing from " + file.string());
    rapidjson::Document first;
    first.CopyFrom(list[0], first.GetAllocator());
    return first;
}

std::string xmpPacket(const std::filesystem::path& file) {
    return run("-b -XMP", file);
}

std::string text(const rapidjson::Value& tags, const char* name) {
    const auto it = tags.FindMember(name);
    if (it == tags.MemberEnd())
        return "<absent>";
    if (it->value.IsString())
        return it->value.GetString();
    if (it->value.IsNumber())
        return std::to_string(it->value.GetDouble());
    return "<not text>";
}

double number(const rapidjson::Value& tags, const char* name) {
    const auto it = tags.FindMember(name);
    return it != tags.MemberEnd() && it->value.IsNumber() ? it->value.GetDouble() : std::nan("");
}

std::vector<std::string> list(const rapidjson::Value& tags, const char* name) {
    std::vector<std::string> items;
    const auto it = tags.FindMember(name);
    if (it != tags.MemberEnd() && it->value.IsArray()) {
        for (const auto& item : it->value.GetArray())
            items.emplace_back(item.IsString() ? item.GetString() : "<not text>");
    }
    return items;
}

} // namespace lorekeep::test::ExifTool
