#include "destination/Leftovers.h"

#include "destination/Layout.h"

#include <algorithm>
#include <cctype>

namespace lorekeep::Leftovers {
namespace {

namespace fs = std::filesystem;

// The album linker's own entries in the engine folder.
constexpr std::string_view albumStaging = "albums-staging";
constexpr std::string_view albumsAside = "albums-old";
constexpr std::string_view linkTest = "linktest";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

/// "<name>.tmp-" followed by the six characters mkstemp put there, after a leading dot.
bool isAtomicTemporary(std::string_view name) {
    const std::size_t marker = name.rfind(".tmp-");
    if (name.size() < 2 || name.front() != '.' || marker == std::string_view::npos || marker < 2)
        return false;
    const std::string_view random = name.substr(marker + 5);
    return random.size() == 6 &&
           std::all_of(random.begin(), random.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
}

bool isRegularFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(fs::symlink_status(path, error));
}

void removeFile(const fs::path& path) {
    std::error_code ignored;
    if (isRegularFile(path))
        fs::remove(path, ignored);
}

bool isPresent(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

void clearEngineFolder(const fs::path& root) {
    const fs::path engine = root / Layout::engineFolder;
    std::error_code error;
    for (fs::directory_iterator it(engine, error), end; !error && it != end; it.increment(error)) {
        if (isAtomicTemporary(it->path().filename().string()))
            removeFile(it->path());
    }
    std::error_code ignored;
    fs::remove_all(engine / albumStaging, ignored);
    fs::remove_all(engine / linkTest, ignored);
    // A swap killed between its two renames leaves the previous tree aside and no "By Album": that tree is still
    // right for everything but the last changes, which the owed album step makes.
    const fs::path aside = engine / albumsAside;
    if (isPresent(aside)) {
        if (!isPresent(root / Layout::byAlbum))
            fs::rename(aside, root / Layout::byAlbum, ignored);
        fs::remove_all(aside, ignored);
    }
}

void sweep(const fs::path& folder) {
    std::error_code error;
    // Links are not followed: an album folder or a user's link never leads the sweep out of "By Date".
    for (fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, error), end;
         !error && it != end; it.increment(error)) {
        if (isTemporaryName(it->path().filename().string()))
            removeFile(it->path());
    }
}

} // namespace

bool isTemporaryName(std::string_view name) {
    if (isAtomicTemporary(name))
        return true;
    for (std::string_view suffix : {std::string_view(".partial"), std::string_view(".meta")}) {
        // The file the temporary name was made for has a name and an extension of its own.
        if (endsWith(name, suffix)) {
            const std::string_view file = name.substr(0, name.size() - suffix.size());
            const std::size_t dot = file.rfind('.');
            return dot != std::string_view::npos && dot > 0 && dot + 1 < file.size();
        }
    }
    return false;
}

void clear(const fs::path& root, bool sweepByDate) {
    clearEngineFolder(root);
    if (sweepByDate)
        sweep(root / Layout::byDate);
}

} // namespace lorekeep::Leftovers
