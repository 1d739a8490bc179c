#include "run/BackupError.h"

namespace lorekeep {

BackupError BackupError::destinationMissing(const std::string& path) {
    return {Kind::destinationMissing, path, "destination not found (" + path + "). Is the drive or share mounted?"};
}

BackupError BackupError::destinationLost(const std::string& path) {
    return {Kind::destinationMissing, path,
            "destination not available (" + path + "): it went away during the backup. Is the drive or share mounted?"};
}

BackupError BackupError::destinationNotWritable(const std::string& path) {
    return {Kind::destinationNotWritable, path, "cannot write to " + path};
}

BackupError BackupError::destinationReadOnly(const std::string& path) {
    return {Kind::destinationNotWritable, path, "cannot write to " + path + ": it is mounted read-only"};
}

BackupError BackupError::destinationFull(const std::string& path) {
    return {Kind::destinationFull, path,
            "destination full (" + path +
                "): the backup stopped. What was copied is kept; free some space and it goes on from there."};
}

} // namespace lorekeep
