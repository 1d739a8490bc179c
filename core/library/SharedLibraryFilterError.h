#pragma once

#include <stdexcept>
#include <string>

namespace lorekeep {

/// Why the Shared Library filter could not be read from the Photos database. what() is the text shown.
class SharedLibraryFilterError : public std::runtime_error {
public:
    enum class Kind { unavailable, noAccess, columnMissing };

    /// The message itself.
    static SharedLibraryFilterError unavailable(const std::string& message);
    /// "Full Disk Access not granted".
    static SharedLibraryFilterError noAccess();
    /// "this macOS version's Photos database has no library-scope column".
    static SharedLibraryFilterError columnMissing();

    [[nodiscard]] Kind kind() const { return m_kind; }

private:
    SharedLibraryFilterError(Kind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}
    Kind m_kind;
};

} // namespace lorekeep
