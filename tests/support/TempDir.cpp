#include "support/TempDir.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lorekeep::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lorekeep-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot create a temporary folder");
    m_path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    // Tests make folders read-only; give write access back so that everything can be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(m_path, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ignored);
    }
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, std::filesystem::perm_options::add,
                                 ignored);
    std::filesystem::remove_all(m_path, ignored);
}

void writeFile(const std::filesystem::path& path, std::string_view contents) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path.string());
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

ScopedTimeZone::ScopedTimeZone(const char* zone) {
    if (const char* previous = std::getenv("TZ")) {
        m_hadValue = true;
        m_previous = previous;
    }
    ::setenv("TZ", zone, 1);
    ::tzset();
}

ScopedTimeZone::~ScopedTimeZone() {
    if (m_hadValue)
        ::setenv("TZ", m_previous.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
}

} // namespace lorekeep::test
