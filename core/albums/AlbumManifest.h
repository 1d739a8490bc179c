#pragma once

#include "albums/LinkMode.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Album links by link path ("Travel/2024/Trip/20240505_140327_1a2b3c4d.heic", below "By Album") to target path
/// (the file's path below the destination root, as in the index). Sorted by plain string comparison.
using LinkSet = std::map<std::string, std::string, std::less<>>;

/// What "By Album" needs to go from a manifest's links to the desired ones.
struct LinkChanges {
    /// The manifest's mode.
    LinkMode mode = LinkMode::symlink;
    /// Links of the manifest that are not desired, or that lead elsewhere now, in the manifest's order.
    std::vector<std::string> removed;
    /// Desired links that the manifest lacks or has with another target, in order.
    std::vector<LinkSet::const_iterator> added;

    [[nodiscard]] bool empty() const { return removed.empty() && added.empty(); }
};

/// The links the last album pass left in "By Album", kept in ".lorekeep/album-links.json" so that the next pass
/// changes only what differs. Read from a destination, so its paths are untrusted.
struct AlbumManifest {
    LinkMode mode = LinkMode::symlink;
    LinkSet links;

    /// Where the manifest of a destination lives.
    static std::filesystem::path location(const std::filesystem::path& root);

    /// The destination's manifest, or nothing when it is missing or does not decode.
    [[nodiscard]] static std::optional<AlbumManifest> load(const std::filesystem::path& root);
    /// The changes from the destination's manifest to the desired links, worked out while the manifest is read
    /// (never held whole); nothing when it is missing or does not decode.
    [[nodiscard]] static std::optional<LinkChanges> changesTo(const std::filesystem::path& root,
                                                              const LinkSet& desired);
    /// Writes the manifest atomically, creating ".lorekeep" when missing. Errors are thrown to the caller.
    void save(const std::filesystem::path& root) const;

    /// {"mode":"symlink","links":{...}}: compact, "/" escaped, links sorted.
    [[nodiscard]] std::string toJson() const;
    /// Throws JsonError when the text is not a manifest.
    [[nodiscard]] static AlbumManifest fromJson(std::string_view text);

    friend bool operator==(const AlbumManifest&, const AlbumManifest&) = default;

private:
    /// Reads a manifest, handing each link to the sink; returns its mode. Throws JsonError.
    template <typename Iterator>
    static LinkMode parse(Iterator first, Iterator last,
                          const std::function<bool(std::string_view, std::string_view)>& sink);
    template <typename Sink>
    void write(const Sink& sink) const;
};

} // namespace lorekeep
