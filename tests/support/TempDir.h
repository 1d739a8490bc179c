#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lorekeep::test {

/// A fresh folder under the system's temporary folder, removed with everything in it when the object goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const { return m_path / relative; }

private:
    std::filesystem::path m_path;
};

/// Writes a file, creating its folders.
void writeFile(const std::filesystem::path& path, std::string_view contents);
std::string readFile(const std::filesystem::path& path);

/// Sets TZ for the lifetime of the object and restores the previous value afterwards.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone);
    ~ScopedTimeZone();
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    bool m_hadValue = false;
    std::string m_previous;
};

} // namespace lorekeep::test
