#include "albums/AlbumManifest.h"

#include "base/AtomicFile.h"
#include "base/Json.h"
#include "base/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <functional>

namespace lorekeep {
namespace {

/// The events of a manifest: the root object's "mode" string and "links" object of strings; anything else in
/// the root object is passed over.
class ManifestReader {
public:
    /// Takes each link in the order of the file; false stops the reading.
    using Sink = std::function<bool(std::string_view link, std::string_view target)>;

    explicit ManifestReader(Sink sink) : m_sink(std::move(sink)) {}

    std::optional<std::string> mode;
    bool sawLinks = false;
    std::optional<std::string> error;

    bool null() { return scalar(Kind::null, {}); }
    bool boolean(bool) { return scalar(Kind::other, {}); }
    bool number_integer(std::int64_t) { return scalar(Kind::other, {}); }
    bool number_unsigned(std::uint64_t) { return scalar(Kind::other, {}); }
    bool number_float(double, const std::string&) { return scalar(Kind::other, {}); }
    bool binary(nlohmann::json::binary_t&) { return scalar(Kind::other, {}); }
    bool string(std::string& text) { return scalar(Kind::string, text); }
    bool key(std::string& text) {
        m_key = std::move(text);
        return true;
    }
    bool parse_error(std::size_t offset, const std::string&, const nlohmann::json::exception& exception) {
        error = json::syntaxError(offset, exception.what());
        return false;
    }
    bool start_object(std::size_t) {
        if (m_skip == 0 && m_depth == 0) {
            m_depth = 1;
            return true;
        }
        if (m_skip == 0 && m_depth == 2)
            return fail("the target of a link is not a string");
        if (m_skip == 0 && m_depth == 1 && first(m_key == "links", m_linksSeen)) {
            sawLinks = true;
            m_depth = 2;
            return true;
        }
        if (m_skip == 0 && m_depth == 1 && first(m_key == "mode", m_modeSeen))
            return fail("\"mode\" is not a string");
        ++m_skip;
        return true;
    }
    bool end_object() {
        if (m_skip > 0)
            --m_skip;
        else
            --m_depth;
        return true;
    }
    bool start_array(std::size_t) {
        if (m_skip == 0 && m_depth == 0)
            return fail("the album manifest is not an object");
        if (m_skip == 0 && m_depth == 2)
            return fail("the target of a link is not a string");
        if (m_skip == 0 && m_depth == 1 && first(m_key == "mode", m_modeSeen))
            return fail("\"mode\" is not a string");
        if (m_skip == 0 && m_depth == 1 && first(m_key == "links", m_linksSeen))
            return fail("\"links\" is not an object");
        ++m_skip;
        return true;
    }
    bool end_array() {
        --m_skip;
        return true;
    }

private:
    enum class Kind { null, string, other };

    /// Whether this is the first member of that name: like a document's lookup, the first one counts.
    static bool first(bool named, bool& seen) {
        if (!named || seen)
            return false;
        seen = true;
        return true;
    }

    bool scalar(Kind kind, std::string_view text) {
        if (m_skip > 0)
            return true;
        if (m_depth == 0)
            return fail("the album manifest is not an object");
        if (m_depth == 2) {
            if (kind != Kind::string)
                return fail("the target of a link is not a string");
            return m_sink(m_key, text) || fail("stopped");
        }
        // A null member counts as a missing one.
        if (first(m_key == "mode", m_modeSeen)) {
            if (kind == Kind::other)
                return fail("\"mode\" is not a string");
            if (kind == Kind::string)
                mode = std::string(text);
        } else if (first(m_key == "links", m_linksSeen) && kind != Kind::null) {
            return fail("\"links\" is not an object");
        }
        return true;
    }
    bool fail(std::string text) {
        error = std::move(text);
        return false;
    }

    Sink m_sink;
    int m_depth = 0;
    int m_skip = 0;
    bool m_modeSeen = false;
    bool m_linksSeen = false;
    std::string m_key;
};

} // namespace

std::filesystem::path AlbumManifest::location(const std::filesystem::path& root) {
    return root / ".lorekeep" / "album-links.json";
}

std::optional<AlbumManifest> AlbumManifest::load(const std::filesystem::path& root) {
    std::FILE* file = std::fopen(location(root).c_str(), "rb");
    if (!file)
        return std::nullopt;
    json::FileChars chars(file);
    std::optional<AlbumManifest> manifest = AlbumManifest{};
    try {
        manifest->mode = parse(chars.begin(), chars.end(), [&](std::string_view link, std::string_view target) {
            manifest->links.emplace(link, target);
            return true;
        });
    } catch (const JsonError&) {
        manifest.reset();
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    return failed ? std::nullopt : manifest;
}

void AlbumManifest::save(const std::filesystem::path& root) const {
    const std::filesystem::path target = location(root);
    std::filesystem::create_directories(target.parent_path());
    AtomicFile file(target);
    write([&](std::string& text) { file.write(text); });
    file.commit();
}

std::string AlbumManifest::toJson() const {
    std::string json;
    write([&](std::string& text) { json += text; });
    return json;
}

template <typename Sink>
void AlbumManifest::write(const Sink& sink) const {
    // The text goes out in pieces: a large library's manifest is tens of megabytes.
    constexpr std::size_t piece = 1 << 16;
    JsonWriter writer;
    writer.startObject();
    writer.key("mode");
    writer.string(toString(mode));
    writer.key("links");
    writer.startObject();
    for (const auto& [link, target] : links) {
        writer.key(link);
        writer.string(target);
        if (writer.output().size() >= piece) {
            sink(writer.output());
            writer.output().clear();
        }
    }
    writer.endObject();
    writer.endObject();
    sink(writer.output());
}

AlbumManifest AlbumManifest::fromJson(std::string_view text) {
    AlbumManifest manifest;
    manifest.mode = parse(text.begin(), text.end(), [&](std::string_view link, std::string_view target) {
        manifest.links.emplace(link, target);
        return true;
    });
    return manifest;
}

std::optional<LinkChanges> AlbumManifest::changesTo(const std::filesystem::path& root, const LinkSet& desired) {
    std::FILE* file = std::fopen(location(root).c_str(), "rb");
    if (!file)
        return std::nullopt;
    // Our manifests are sorted: they are compared with the desired links while they are read, so that the links of
    // a large library are never held twice.
    LinkChanges changes;
    auto want = desired.begin();
    std::string previous;
    bool sorted = true;
    const auto compare = [&](std::string_view link, std::string_view target) {
        if (!previous.empty() && link <= previous) {
            sorted = false;
            return false;
        }
        previous.assign(link);
        while (want != desired.end() && want->first < link)
            changes.added.push_back(want++);
        if (want != desired.end() && want->first == link) {
            if (want->second != target) {
                changes.removed.emplace_back(link);
                changes.added.push_back(want);
            }
            ++want;
        } else {
            changes.removed.emplace_back(link);
        }
        return true;
    };
    json::FileChars chars(file);
    std::optional<LinkMode> mode;
    try {
        mode = parse(chars.begin(), chars.end(), compare);
    } catch (const JsonError&) {
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (!sorted) {
        // Not one of ours, or edited by hand: compared the slow way.
        const std::optional<AlbumManifest> manifest = load(root);
        if (!manifest)
            return std::nullopt;
        changes = {.mode = manifest->mode};
        previous.clear();
        want = desired.begin();
        for (const auto& [link, target] : manifest->links)
            compare(link, target);
        mode = manifest->mode;
    }
    if (failed || !mode)
        return std::nullopt;
    while (want != desired.end())
        changes.added.push_back(want++);
    changes.mode = *mode;
    return changes;
}

template <typename Iterator>
LinkMode AlbumManifest::parse(Iterator first, Iterator last,
                              const std::function<bool(std::string_view, std::string_view)>& sink) {
    // Read event by event: the manifest of a large library holds hundreds of thousands of links, and a document
    // of them beside the text would take several times their memory.
    ManifestReader handler(sink);
    if (!nlohmann::json::sax_parse(first, last, &handler))
        throw JsonError(handler.error.value_or("the album manifest does not decode"));
    if (!handler.mode)
        throw JsonError("\"mode\" is missing");
    const auto mode = linkModeFromString(*handler.mode);
    if (!mode)
        throw JsonError("unknown link mode \"" + *handler.mode + "\"");
    if (!handler.sawLinks)
        throw JsonError("\"links\" is missing");
    return *mode;
}

} // namespace lorekeep
