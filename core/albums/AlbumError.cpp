#include "albums/AlbumError.h"

namespace lorekeep {

AlbumError AlbumError::foreignFolder(const std::string& path) {
    return {Kind::foreignFolder, path,
            path + " exists but was not made by Lorekeep, so it was left alone. Rename it to get album folders."};
}

} // namespace lorekeep
