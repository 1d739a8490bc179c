#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace lorekeep {

/// The assets that the last runs could not back up, kept beside the index so that the next run tries them again
/// even when the library's history shows no change for them. The index itself keeps only what was backed up.
class FailedAssets {
public:
    /// Below the destination root.
    static constexpr std::string_view path = ".lorekeep/failed-assets.json";

    /// The destination's record; empty when it is missing or does not decode (which costs retries, nothing else).
    [[nodiscard]] static FailedAssets load(const std::filesystem::path& root);
    /// Writes the record atomically, or removes it when it is empty. Throws on failure.
    void save(const std::filesystem::path& root) const;

    /// {"version":1,"identifiers":[...]}, identifiers sorted.
    [[nodiscard]] std::string toJson() const;
    /// Throws JsonError when the text is not a record.
    [[nodiscard]] static FailedAssets fromJson(std::string_view text);

    void add(const std::string& localIdentifier) { m_identifiers.insert(localIdentifier); }
    void remove(const std::string& localIdentifier) { m_identifiers.erase(localIdentifier); }
    [[nodiscard]] bool contains(const std::string& localIdentifier) const {
        return m_identifiers.contains(localIdentifier);
    }
    [[nodiscard]] const std::set<std::string>& identifiers() const { return m_identifiers; }
    [[nodiscard]] bool empty() const { return m_identifiers.empty(); }

    friend bool operator==(const FailedAssets&, const FailedAssets&) = default;

private:
    std::set<std::string> m_identifiers;
};

} // namespace lorekeep
