#include "SystemLibrary.h"

#include "library/photokit/PhotoKitLibrary.h"

namespace lorekeep::cli {

std::unique_ptr<PhotoLibrary> openSystemLibrary(StopToken stop) {
    // A first run from a terminal asks here; the answer is then kept for the terminal application.
    if (PhotoKitLibrary::authorization() == photokit::Authorization::notDetermined)
        PhotoKitLibrary::requestAuthorization();
    return std::make_unique<PhotoKitLibrary>(std::move(stop));
}

} // namespace lorekeep::cli
