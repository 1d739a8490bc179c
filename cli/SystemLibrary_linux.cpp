#include "SystemLibrary.h"

namespace lorekeep::cli {

std::unique_ptr<PhotoLibrary> openSystemLibrary(StopToken) {
    return nullptr;
}

} // namespace lorekeep::cli
