#include "base/ReplaceFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <system_error>

namespace lorekeep {

void replaceFile(const std::filesystem::path& replacement, const std::filesystem::path& original) {
#if defined(__linux__) && defined(RENAME_EXCHANGE)
    if (::renameat2(AT_FDCWD, replacement.c_str(), AT_FDCWD, original.c_str(), RENAME_EXCHANGE) == 0) {
        // The old contents now carry the replacement's name.
        std::error_code ignored;
        std::filesystem::remove(replacement, ignored);
        return;
    }
    // No file to swap with, or a file system that cannot swap (network shares, older kernels): rename.
    const int error = errno;
    if (error != ENOENT && error != EINVAL && error != ENOSYS && error != EOPNOTSUPP)
        throw std::filesystem::filesystem_error("cannot replace", original, replacement,
                                                std::error_code(error, std::generic_category()));
#endif
    std::filesystem::rename(replacement, original);
}

Placement moveIntoPlace(const std::filesystem::path& from, const std::filesystem::path& to) {
#if defined(__APPLE__)
    const int moved = ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL);
#elif defined(__linux__) && defined(RENAME_NOREPLACE)
    const int moved = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
#else
    const int moved = -1;
    errno = ENOTSUP;
#endif
    if (moved == 0)
        return Placement::free;
    const int error = errno;
    if (error != EEXIST && error != EINVAL && error != ENOSYS && error != ENOTSUP && error != EOPNOTSUPP)
        throw std::filesystem::filesystem_error("cannot move into place", from, to,
                                                std::error_code(error, std::generic_category()));
    // Taken, or a file system that cannot refuse to replace (network shares, older kernels).
    std::error_code ignored;
    const bool taken =
        error == EEXIST || std::filesystem::symlink_status(to, ignored).type() != std::filesystem::file_type::not_found;
    std::filesystem::rename(from, to);
    return taken ? Placement::replaced : Placement::free;
}

} // namespace lorekeep
