#include "app/platform/EventLoop.h"
#include "support/TempDir.h"

#include "platform/linux/PackagePhotosAccess.h"

#include <gtest/gtest.h>

using lorekeep::app::PackagePhotosAccess;
using lorekeep::app::PhotosAuthorization;
using namespace lorekeep::test;

namespace {

QString qpath(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

TEST(PackagePhotosAccess, aLibraryIsAuthorizedExactlyWhenItsDatabaseCanBeRead) {
    ensureApplication();
    const TempDir folder;
    writeFile(folder / "Readable.photoslibrary" / "database" / "Photos.sqlite", "database");
    std::filesystem::create_directories(folder / "Empty.photoslibrary" / "database");

    struct Row {
        const char* package;
        PhotosAuthorization expected;
    };
    for (const Row row : {Row{"Readable.photoslibrary", PhotosAuthorization::authorized},
                          Row{"Empty.photoslibrary", PhotosAuthorization::denied},
                          Row{"Missing.photoslibrary", PhotosAuthorization::denied}}) {
        SCOPED_TRACE(row.package);
        PackagePhotosAccess access(qpath(folder / row.package));
        EXPECT_EQ(access.status(), row.expected);

        // The answer to a request comes from the event loop, never from inside the call.
        std::optional<PhotosAuthorization> answer;
        access.request([&](PhotosAuthorization status) { answer = status; });
        EXPECT_FALSE(answer.has_value());
        ASSERT_TRUE(runEventsUntil([&] { return answer.has_value(); }));
        EXPECT_EQ(answer, row.expected);
    }
}

} // namespace
