#include "run/BackupError.h"

namespace lorekeep {

BackupError BackupError::destinationMissing(const std::string& path) {
    return {Kind::destinationMissing, path, "destination not found (" + path + "). Is the drive or share mounted?"};
}

BackupError BackupError::destinationNotWritable(const std::string& path) {
    return {Kind::destinationNotWritable, path, "cannot write to " + path};
}

} // namespace lorekeep
