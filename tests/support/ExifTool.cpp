#include "support/ExifTool.h"

#include "base/Json.h"

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

} // namespace lorekeep::test::ExifTool
