#include "destination/Preflight.h"

#include "destination/Layout.h"
#include "run/BackupError.h"

#include <fstream>
#include <sys/statvfs.h>
#include <system_error>

namespace lorekeep {

namespace Preflight {

void check(const std::filesystem::path& root) {
    std::error_code error;
    if (!std::filesystem::is_directory(root, error))
        throw BackupError::destinationMissing(root.string());
    struct statvfs volume {};
    if (::statvfs(root.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0)
        throw BackupError::destinationReadOnly(root.string());

    const std::filesystem::path probe = root / Layout::writeTest;
    bool written = false;
    {
        std::ofstream out(probe, std::ios::binary | std::ios::trunc);
        written = out.is_open();
        out.close();
        written = written && !out.fail();
    }
    const bool removed = std::filesystem::remove(probe, error) && !error;
    if (!written || !removed)
        throw BackupError::destinationNotWritable(root.string());
}

} // namespace Preflight
} // namespace lorekeep
