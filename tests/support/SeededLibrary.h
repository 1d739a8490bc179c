#pragma once

#include "support/FakePhotoLibrary.h"

namespace lorekeep::test {

/// A photo library made from a seed, the same in every process: photos, videos, Live Photos, edited photos and
/// RAW + JPEG pairs with random contents of up to 256 KiB, created over several months, some of them in two albums
/// (one inside a folder). For tests that back up the same library in a child process and in the test itself.
class SeededLibrary {
public:
    /// Fills an empty library with `assets` assets.
    static void fill(FakePhotoLibrary& library, unsigned seed, int assets);
    /// What happens to the library between two backups, recorded in its history: the first two assets have an
    /// edit added or reverted, the third is deleted, one asset is added, and one leaves an album.
    static void change(FakePhotoLibrary& library, unsigned seed, int assets);

    /// The local identifier of the asset at a position.
    static std::string identifier(unsigned seed, int position);
};

} // namespace lorekeep::test
