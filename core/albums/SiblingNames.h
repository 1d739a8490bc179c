#pragma once

#include <optional>
#include <string>
#include <unordered_set>

namespace lorekeep {

/// The folder name for an album or folder title: "/" and ":" become "-", white space is trimmed at both ends, an
/// empty result becomes "Untitled", and a name starting with "." gets a leading "_" so it is never hidden (and
/// never "." or ".."). A missing title counts as empty.
[[nodiscard]] std::string cleanFolderName(const std::optional<std::string>& title);

/// The names already used in one folder. Names are compared case-insensitively, as most destinations do, and keep
/// their case when written.
class SiblingNames {
public:
    /// The name itself when it is free, else name + " (2)", " (3)", ... whichever is free first. The result is
    /// taken from then on.
    [[nodiscard]] std::string claim(const std::string& name);

private:
    std::unordered_set<std::string> m_taken;
};

/// The lower-case form used to compare names: ASCII and the common Latin, Greek and Cyrillic capitals are folded;
/// everything else is left as it is.
[[nodiscard]] std::string foldCase(std::string_view name);

} // namespace lorekeep
