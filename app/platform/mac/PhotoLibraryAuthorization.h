#pragma once

#include <functional>

namespace lorekeep::app {

/// PhotoKit's read-write authorization, without Qt. Raw PHAuthorizationStatus values.
class PhotoLibraryAuthorization {
public:
    [[nodiscard]] static long readWriteStatus();
    /// Asks the user when the answer is not known yet; `done` runs on a thread of the system's choosing.
    static void requestReadWrite(std::function<void(long status)> done);
};

} // namespace lorekeep::app
