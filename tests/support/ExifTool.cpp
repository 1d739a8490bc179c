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

nlohmann::json tags(const std::filesystem::path& file) {
    nlohmann::json list = json::parse(run("-j -G1 -n", file));
    if (!list.is_array() || list.empty() || !list[0].is_object())
        throw std::runtime_error("exiftool read nothing from " + file.string());
    return std::move(list[0]);
}

std::string xmpPacket(const std::filesystem::path& file) {
    return run("-b -XMP", file);
}

std::string text(const nlohmann::json& tags, const char* name) {
    const auto it = tags.find(name);
    if (it == tags.end())
        return "<absent>";
    if (it->is_string())
        return it->get<std::string>();
    if (it->is_number())
        return std::to_string(it->get<double>());
    return "<not text>";
}

double number(const nlohmann::json& tags, const char* name) {
    const auto it = tags.find(name);
    return it != tags.end() && it->is_number() ? it->get<double>() : std::nan("");
}

std::vector<std::string> list(const nlohmann::json& tags, const char* name) {
    std::vector<std::string> items;
    const auto it = tags.find(name);
    if (it != tags.end() && it->is_array()) {
        for (const auto& item : *it)
            items.emplace_back(item.is_string() ? item.get<std::string>() : "<not text>");
    }
    return items;
}

} // namespace lorekeep::test::ExifTool
