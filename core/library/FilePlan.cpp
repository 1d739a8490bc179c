#include "library/FilePlan.h"

#include "base/Sha256.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <set>

namespace lorekeep {
namespace {

std::string lowercased(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

std::tm localTime(Date date) {
    const double seconds = std::floor(date.unixSeconds());
    std::tm local{};
    // A date that no calendar can hold (a corrupt library row) is filed like an asset without a date.
    const std::time_t whole =
        std::isfinite(seconds) && std::fabs(seconds) < 1e15 ? static_cast<std::time_t>(seconds) : 0;
    if (!localtime_r(&whole, &local)) {
        const std::time_t epoch = 0;
        localtime_r(&epoch, &local);
    }
    return local;
}

} // namespace

namespace Naming {

std::string_view roleMarker(FileRole role) {
    return role > FileRole::livePhotoVideo ? "_edit" : "";
}

std::string extension(std::string_view originalFilename) {
    std::string_view name = originalFilename;
    if (const auto slash = name.rfind('/'); slash != std::string_view::npos)
        name.remove_prefix(slash + 1);
    const auto dot = name.rfind('.');
    // No dot, a leading dot (".profile") or a trailing dot ("name.") means no extension.
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return "bin";
    return lowercased(name.substr(dot + 1));
}

std::string shortHash(std::string_view text) {
    const Sha256::Digest digest = Sha256::of(text);
    return Sha256::hex(digest.data(), 4);
}

std::string yearMonth(Date date) {
    const std::tm local = localTime(date);
    char text[32];
    std::snprintf(text, sizeof text, "%04d/%02d", local.tm_year + 1900, local.tm_mon + 1);
    return text;
}

std::string timestamp(Date date) {
    const std::tm local = localTime(date);
    char text[48];
    std::snprintf(text, sizeof text, "%04d%02d%02d_%02d%02d%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                  local.tm_hour, local.tm_min, local.tm_sec);
    return text;
}

} // namespace Naming

namespace FilePlan {

std::optional<FileRole> roleFor(ResourceType type) {
    switch (type) {
    case ResourceType::photo:
    case ResourceType::video:
    case ResourceType::audio:
        return FileRole::original;
    case ResourceType::alternatePhoto:
        return FileRole::rawPartner;
    case ResourceType::fullSizePhoto:
    case ResourceType::fullSizeVideo:
        return FileRole::edited;
    case ResourceType::pairedVideo:
        return FileRole::livePhotoVideo;
    case ResourceType::fullSizePairedVideo:
        return FileRole::editedLiveVideo;
    default:
        return std::nullopt;
    }
}

Plan plan(const Asset& asset, const std::vector<AssetResource>& resources) {
    const Date created = asset.creationDate.value_or(Date::fromUnixSeconds(0));
    Plan result;
    result.stem = "By Date/" + Naming::yearMonth(created) + "/" + Naming::timestamp(created) + "_" +
                  Naming::shortHash(asset.localIdentifier);

    std::set<std::string> used;
    for (const AssetResource& resource : resources) {
        const std::optional<FileRole> role = roleFor(resource.type);
        if (!role)
            continue;
        const std::string ext = Naming::extension(resource.originalFilename);
        std::string name = result.stem + std::string(Naming::roleMarker(*role)) + "." + ext;
        // The second form is neither checked again nor given the edit marker: paths in existing indexes rely on
        // exactly this, so a third clash reuses the second one's name.
        if (used.contains(lowercased(name)))
            name = result.stem + "_" + std::string(toString(*role)) + "." + ext;
        used.insert(lowercased(name));
        result.files.push_back({asset, resource, *role, std::move(name)});
    }
    return result;
}

} // namespace FilePlan
} // namespace lorekeep
