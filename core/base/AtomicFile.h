#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lorekeep {

/// A file written under a temporary name in its target's folder and renamed into place on commit, so that a
/// reader sees either the previous file or the whole new one. Flushed to disk before the rename. A file that is
/// never committed is removed when the object goes away. Errors throw std::system_error.
class AtomicFile {
public:
    explicit AtomicFile(std::filesystem::path target);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void write(std::string_view bytes);
    void commit();

    /// Writes the whole contents in one go.
    static void write(const std::filesystem::path& target, std::string_view contents);

private:
    void flushBuffer();

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;
    std::string m_buffer;
    int m_fd = -1;
};

} // namespace lorekeep
