#pragma once

#include <stdexcept>
#include <string>

namespace lorekeep {

/// A destination that cannot take a backup. what() is the text shown to the user.
class BackupError : public std::runtime_error {
public:
    /// A missing destination, one that went away during a run included, is one to wait for; the others need the
    /// user.
    enum class Kind { destinationMissing, destinationNotWritable, destinationFull };

    /// "destination not found (" + path + "). Is the drive or share mounted?"
    static BackupError destinationMissing(const std::string& path);
    /// "destination not available (" + path + "): it went away during the backup. Is the drive or share mounted?"
    static BackupError destinationLost(const std::string& path);
    /// "cannot write to " + path
    static BackupError destinationNotWritable(const std::string& path);
    /// "cannot write to " + path + ": it is mounted read-only"
    static BackupError destinationReadOnly(const std::string& path);
    /// "destination full (" + path + "): the backup stopped. What was copied is kept; free some space and it goes on
    /// from there."
    static BackupError destinationFull(const std::string& path);

    Kind kind() const { return m_kind; }
    const std::string& path() const { return m_path; }

private:
    BackupError(Kind kind, std::string path, const std::string& text)
        : std::runtime_error(text), m_kind(kind), m_path(std::move(path)) {}

    Kind m_kind;
    std::string m_path;
};

} // namespace lorekeep
