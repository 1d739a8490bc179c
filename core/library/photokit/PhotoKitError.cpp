#include "library/photokit/PhotoKitError.h"

namespace lorekeep::photokit {
namespace {

const char* ownWords(long long code) {
    switch (code) {
    case PhotosErrorCode::userCancelled:
        return "the request was cancelled";
    case PhotosErrorCode::changeTokenExpired:
        return "the Photos change history no longer reaches back to the last backup";
    case PhotosErrorCode::libraryVolumeOffline:
        return "the volume of the Photos library is not connected";
    case PhotosErrorCode::networkAccessRequired:
        return "the original is in iCloud only and was not downloaded";
    case PhotosErrorCode::networkError:
        return "downloading from iCloud failed";
    case PhotosErrorCode::identifierNotFound:
        return "the item is no longer in the Photos library";
    case PhotosErrorCode::changeDetailsUnavailable:
        return "the Photos change history has no details for this change";
    case PhotosErrorCode::operationInterrupted:
        return "Photos was interrupted; the next run tries again";
    case PhotosErrorCode::missingResource:
        return "Photos no longer has this file";
    case PhotosErrorCode::notEnoughSpace:
        return "not enough disk space to download the original";
    case PhotosErrorCode::accessRestricted:
    case PhotosErrorCode::accessUserDenied:
        return "Lorekeep is not allowed to read the Photos library";
    default:
        return nullptr;
    }
}

} // namespace

std::string errorText(const ErrorFacts& error) {
    const char* own = error.domain == photosErrorDomain ? ownWords(error.code) : nullptr;
    std::string text = own ? own : error.localizedDescription;
    if (text.empty())
        text = "Photos reported an error";
    return text + " (" + error.domain + " " + std::to_string(error.code) + ")";
}

std::string noResultText(const std::string& what) {
    return "Photos returned nothing for the " + what;
}

std::optional<std::string> authorizationProblem(Authorization status) {
    switch (status) {
    case Authorization::authorized:
    case Authorization::limited:
        return std::nullopt;
    case Authorization::notDetermined:
        return "Lorekeep has not been allowed to read the Photos library yet: open Lorekeep and allow it";
    case Authorization::restricted:
        return "access to the Photos library is restricted on this Mac (parental controls or a device profile)";
    case Authorization::denied:
        break;
    }
    return "Lorekeep is not allowed to read the Photos library: allow it in System Settings > Privacy & Security > "
           "Photos";
}

} // namespace lorekeep::photokit
