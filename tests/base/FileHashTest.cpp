#include "base/FileHash.h"
#include "base/Sha256.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>

namespace lorekeep {
namespace {

TEST(FileHash, hashesEmptySmallAndChunkBoundaryFiles) {
    test::TempDir dir;
    test::writeFile(dir / "empty", "");
    test::writeFile(dir / "abc", "abc");
    const FileDigest empty = FileHash::sha256(dir / "empty");
    EXPECT_EQ(empty.sha256, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(empty.bytes, 0);
    EXPECT_EQ(FileHash::sha256(dir / "abc"),
              (FileDigest{"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", 3}));

    // Exactly one chunk, and one byte past it: the digest must cover every byte once.
    for (std::size_t size : {std::size_t{1} << 20, (std::size_t{1} << 20) + 1, std::size_t{3} << 20}) {
        std::string data(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>((i * 31) ^ (i >> 11));
        test::writeFile(dir / "big", data);
        const auto expected = Sha256::of(data);
        const FileDigest digest = FileHash::sha256(dir / "big");
        EXPECT_EQ(digest.sha256, Sha256::hex(expected.data(), expected.size()));
        EXPECT_EQ(digest.bytes, static_cast<std::int64_t>(size));
    }
}

TEST(FileHash, writesWhatItHashesAcrossItsChunksAndOverAnOldFile) {
    test::TempDir dir;
    test::writeFile(dir / "out", std::string(5 << 20, 'x'));
    for (std::size_t size :
         {std::size_t{0}, std::size_t{256} << 10, (std::size_t{256} << 10) + 1, std::size_t{3} << 20}) {
        std::string data(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>((i * 7) ^ (i >> 13));
        const FileDigest written = FileHash::writeHashed(dir / "out", data);
        EXPECT_EQ(written, FileHash::sha256(std::span<const char>(data)));
        EXPECT_EQ(written, FileHash::sha256(dir / "out")) << "an older, longer file is cut to the new bytes";
        EXPECT_EQ(test::readFile(dir / "out"), data);
    }
    EXPECT_THROW((void)FileHash::writeHashed(dir / "missing" / "out", "abc"), std::system_error);
}

TEST(FileHash, throwsForAMissingFileOrAFolder) {
    test::TempDir dir;
    EXPECT_THROW((void)FileHash::sha256(dir / "missing"), std::system_error);
    EXPECT_THROW((void)FileHash::sha256(dir.path()), std::system_error);
}

} // namespace
} // namespace lorekeep
