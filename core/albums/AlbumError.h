#pragma once

#include <stdexcept>
#include <string>

namespace lorekeep {

/// Why the album folders could not be brought up to date. what() is the text shown to the user.
class AlbumError : public std::runtime_error {
public:
    enum class Kind { foreignFolder };

    /// "By Album" exists but holds no marker of ours, so it belongs to the user and is left alone.
    static AlbumError foreignFolder(const std::string& path);

    Kind kind() const { return m_kind; }
    /// The folder the error is about.
    const std::string& path() const { return m_path; }

private:
    AlbumError(Kind kind, std::string path, const std::string& text)
        : std::runtime_error(text), m_kind(kind), m_path(std::move(path)) {}

    Kind m_kind;
    std::string m_path;
};

} // namespace lorekeep
