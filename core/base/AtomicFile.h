#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lorekeep {

/// A file written under a temporary name in its target's folder and renamed into place on commit, so that a
/// reader sees either the previous file or the whole new one. A file that is never committed is removed when the
/// object goes away. Errors throw std::system_error.
class AtomicFile {
public:
    /// Whether the contents reach the disk before the rename (bookkeeping that later runs rely on) or may stay in
    /// the system's cache for a while (files like the exported ones, which verification checks).
    enum class Durability { synced, cached };

    explicit AtomicFile(std::filesystem::path target, Durability durability = Durability::synced);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void write(std::string_view bytes);
    void commit();

    /// Writes the whole contents in one go.
    static void write(const std::filesystem::path& target, std::string_view contents,
                      Durability durability = Durability::synced);

private:
    void flushBuffer();

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;
    Durability m_durability;
    std::string m_buffer;
    int m_fd = -1;
};

} // namespace lorekeep
