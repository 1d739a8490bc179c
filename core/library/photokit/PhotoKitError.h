#pragma once

#include <optional>
#include <string>

namespace lorekeep::photokit {

/// An NSError as plain values.
struct ErrorFacts {
    std::string domain;
    long long code = 0;
    std::string localizedDescription;
};

/// PHPhotosErrorDomain codes the engine tells apart.
namespace PhotosErrorCode {
inline constexpr long long userCancelled = 3072;
inline constexpr long long changeTokenExpired = 3105;
inline constexpr long long libraryVolumeOffline = 3114;
inline constexpr long long networkAccessRequired = 3164;
inline constexpr long long networkError = 3169;
inline constexpr long long identifierNotFound = 3201;
inline constexpr long long changeDetailsUnavailable = 3210;
inline constexpr long long operationInterrupted = 3301;
inline constexpr long long missingResource = 3303;
inline constexpr long long notEnoughSpace = 3305;
inline constexpr long long accessRestricted = 3310;
inline constexpr long long accessUserDenied = 3311;
} // namespace PhotosErrorCode

inline constexpr const char* photosErrorDomain = "PHPhotosErrorDomain";

/// The text a user reads for a PhotoKit error: our own words for the errors a backup meets (an original in
/// iCloud only, a full disk, a stopped run, ...), otherwise Photos' description; always with the domain and code,
/// which are what a support question needs.
[[nodiscard]] std::string errorText(const ErrorFacts& error);
/// The text of a request that ended without an error and without a result.
[[nodiscard]] std::string noResultText(const std::string& what);

/// Read-write authorization, by PHAuthorizationStatus's values.
enum class Authorization { notDetermined = 0, restricted = 1, denied = 2, authorized = 3, limited = 4 };

/// Why the library cannot be read with this authorization, or nothing when it can.
[[nodiscard]] std::optional<std::string> authorizationProblem(Authorization status);

} // namespace lorekeep::photokit
