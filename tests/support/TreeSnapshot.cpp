#include "support/TreeSnapshot.h"

#include "base/FileHash.h"
#include "base/Sha256.h"

#include <algorithm>

namespace lorekeep::test {
namespace {

namespace fs = std::filesystem;

std::string shownPath(const fs::path& path, const fs::path& root) {
    return path.lexically_relative(root).generic_string();
}

std::string linkLine(const fs::path& link, const fs::path& root) {
    const fs::path target = fs::read_symlink(link);
    std::string line = shownPath(link, root) + " -> ";
    if (target.is_absolute())
        return line + target.generic_string() + " (absolute)";
    line += shownPath((link.parent_path() / target).lexically_normal(), root);
    std::error_code error;
    if (!fs::exists(link, error))
        line += " (dangling)";
    return line;
}

} // namespace

std::vector<std::string> TreeSnapshot::lines(const fs::path& root, const Options& options) {
    std::vector<std::string> lines;
    const fs::path start = options.under.empty() ? root : root / options.under;
    if (!fs::exists(fs::symlink_status(start)))
        return lines;
    for (auto it = fs::recursive_directory_iterator(start); it != fs::recursive_directory_iterator(); ++it) {
        const fs::path& path = it->path();
        if (!options.engineFolder && it.depth() == 0 && options.under.empty() && path.filename() == ".lorekeep") {
            it.disable_recursion_pending();
            continue;
        }
        const fs::file_status status = it->symlink_status();
        if (fs::is_symlink(status))
            lines.push_back(linkLine(path, root));
        else if (fs::is_directory(status) && fs::is_empty(path))
            lines.push_back(shownPath(path, root) + "/");
        else if (fs::is_regular_file(status))
            lines.push_back(shownPath(path, root) + " " + FileHash::sha256(path).sha256.substr(0, 12));
        else if (!fs::is_directory(status))
            lines.push_back(shownPath(path, root) + " (special file)");
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string TreeSnapshot::text(const fs::path& root, const Options& options) {
    return join(lines(root, options));
}

std::string TreeSnapshot::shortHash(std::string_view contents) {
    const Sha256::Digest digest = Sha256::of(contents);
    return Sha256::hex(digest.data(), digest.size()).substr(0, 12);
}

std::string TreeSnapshot::fileLine(std::string_view path, std::string_view contents) {
    return std::string(path) + " " + shortHash(contents);
}

std::string TreeSnapshot::join(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

} // namespace lorekeep::test
