#include "library/SharedLibraryFilterError.h"

namespace lorekeep {

SharedLibraryFilterError SharedLibraryFilterError::unavailable(const std::string& message) {
    return {Kind::unavailable, message};
}

SharedLibraryFilterError SharedLibraryFilterError::noAccess() {
    return {Kind::noAccess, "Full Disk Access not granted"};
}

SharedLibraryFilterError SharedLibraryFilterError::columnMissing() {
    return {Kind::columnMissing, "this macOS version's Photos database has no library-scope column"};
}

} // namespace lorekeep
