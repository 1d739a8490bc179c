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

} // namespace lorekeep
