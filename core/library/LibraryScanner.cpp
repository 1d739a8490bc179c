#include "library/LibraryScanner.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

namespace lorekeep {

void LibraryCounts::encode(JsonWriter& writer) const {
    writer.startObject();
    writer.key("personalVisible");
    writer.integer(personalVisible);
    writer.key("hidden");
    writer.integer(hidden);
    writer.key("cloudSharedAlbums");
    writer.integer(cloudSharedAlbums);
    writer.endObject();
}

LibraryCounts LibraryCounts::decode(const json::Value& value) {
    const json::Value& object = json::asObject(value, "the library counts");
    return LibraryCounts{.personalVisible = json::requiredInt64(object, "personalVisible"),
                         .hidden = json::requiredInt64(object, "hidden"),
                         .cloudSharedAlbums = json::requiredInt64(object, "cloudSharedAlbums")};
}

std::string LibraryCounts::toJson() const {
    JsonWriter writer;
    encode(writer);
    return std::move(writer.output());
}

LibraryCounts LibraryCounts::fromJson(std::string_view text) {
    return decode(json::parse(text));
}

FetchOptions LibraryScanner::standardListing() {
    return FetchOptions{.newestFirst = true, .sourceTypes = static_cast<int>(SourceType::userLibrary)};
}

std::vector<Candidate> LibraryScanner::sample(std::int64_t count) const {
    std::vector<Candidate> picked;
    if (count <= 0)
        return picked;
    const auto wanted = static_cast<std::size_t>(count);
    const AssetList listing = m_library.fetchAssets(standardListing());
    const std::int64_t quotaEach = count > 4 ? count / 5 : 1;
    std::map<AssetTrait, std::int64_t> quota;
    for (const AssetTrait trait : allAssetTraits)
        quota[trait] = quotaEach;

    std::vector<Candidate> spares;
    const std::size_t depth =
        std::min(listing.count(), static_cast<std::size_t>(std::max<std::int64_t>(m_scanDepth, 0)));
    for (std::size_t i = 0; i < depth && picked.size() < wanted; ++i) {
        Candidate candidate{.asset = listing.at(i)};
        candidate.resources = m_library.resources(candidate.asset);
        candidate.traits = assetTraits(candidate.asset, candidate.resources);
        const auto claimed = std::find_if(candidate.traits.begin(), candidate.traits.end(),
                                          [&](AssetTrait trait) { return quota[trait] >= 1; });
        if (claimed != candidate.traits.end()) {
            --quota[*claimed];
            picked.push_back(std::move(candidate));
        } else if (spares.size() < wanted) {
            spares.push_back(std::move(candidate));
        }
    }
    for (auto& spare : spares) {
        if (picked.size() >= wanted)
            break;
        picked.push_back(std::move(spare));
    }
    return picked;
}

LibraryCounts LibraryScanner::counts() const {
    const auto countOf = [this](const FetchOptions& options) {
        return static_cast<std::int64_t>(m_library.fetchAssets(options).count());
    };
    return LibraryCounts{
        .personalVisible = countOf(standardListing()),
        .hidden = countOf(FetchOptions{.includeHidden = true, .hiddenOnly = true}),
        .cloudSharedAlbums = countOf(FetchOptions{.sourceTypes = static_cast<int>(SourceType::cloudShared)}),
    };
}

} // namespace lorekeep
