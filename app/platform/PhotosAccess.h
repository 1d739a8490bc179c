#pragma once

#include <QString>

#include <functional>

namespace lorekeep::app {

/// Read-write authorization for the Photos library. The values are PhotoKit's PHAuthorizationStatus.
enum class PhotosAuthorization { notDetermined = 0, restricted = 1, denied = 2, authorized = 3, limited = 4 };

/// macOS: PHPhotoLibrary's authorization. Linux: whether the library package in use can be read.
class PhotosAccess {
public:
    virtual ~PhotosAccess() = default;

    [[nodiscard]] virtual PhotosAuthorization status() const = 0;
    /// Asks the user when the answer is not known yet; `done` runs on the main thread.
    virtual void request(std::function<void(PhotosAuthorization)> done) = 0;
};

} // namespace lorekeep::app
