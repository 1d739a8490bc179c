#include "run/ChangeTracker.h"
#include "support/FakePhotoLibrary.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::FakePhotoLibrary;

PersistentChange assetChange(std::vector<std::string> inserted, std::vector<std::string> updated,
                             std::vector<std::string> deleted) {
    PersistentChange change;
    change.assets = {std::move(inserted), std::move(updated), std::move(deleted)};
    return change;
}

TEST(ChangeTracker, foldsTheHistoryIntoChangedAndDeletedAssets) {
    FakePhotoLibrary library;
    const ChangeToken start = library.currentChangeToken();
    library.recordChange(assetChange({"A/L0/001", "B/L0/001"}, {}, {}));
    library.recordChange(assetChange({}, {"A/L0/001", "C/L0/001"}, {}));
    library.recordChange(assetChange({}, {}, {"C/L0/001", "D/L0/001"}));
    library.recordChange(assetChange({"E/L0/001"}, {}, {"E/L0/001"}));

    EXPECT_EQ(ChangeTracker::changesSince(library, start),
              (ChangeSet{{"A/L0/001", "B/L0/001"}, {"C/L0/001", "D/L0/001", "E/L0/001"}, false}));
}

TEST(ChangeTracker, setsAlbumsChangedForAnyAlbumOrFolderChange) {
    FakePhotoLibrary library;
    const ChangeToken start = library.currentChangeToken();
    EXPECT_EQ(ChangeTracker::changesSince(library, start), ChangeSet{});

    PersistentChange renamed;
    renamed.albums.updated = {"ALBUM/L0/040"};
    const ChangeToken beforeRename = library.recordChange(renamed).first;
    PersistentChange folderRemoved;
    folderRemoved.folders.deleted = {"FOLDER/L0/020"};
    const auto [beforeFolder, end] = library.recordChange(folderRemoved);

    EXPECT_EQ(ChangeTracker::changesSince(library, beforeRename), (ChangeSet{{}, {}, true}));
    EXPECT_EQ(ChangeTracker::changesSince(library, beforeFolder), (ChangeSet{{}, {}, true}));
    EXPECT_EQ(ChangeTracker::changesSince(library, end), ChangeSet{});
}

TEST(ChangeTracker, passesOnTheLibrarysErrorWhenTheHistoryCannotBeRead) {
    FakePhotoLibrary library;
    const ChangeToken start = library.currentChangeToken();
    library.failPersistentChanges("history too old");
    EXPECT_THROW((void)ChangeTracker::changesSince(library, start), LibraryError);
}

TEST(ChangeTracker, storesTheTokenAsBase64OfItsArchive) {
    EXPECT_EQ(ChangeTracker::tokenText(ChangeToken{std::string("bplist00\xd4\x01", 10)}), "YnBsaXN0MDDUAQ==");

    FakePhotoLibrary library;
    library.recordChange(assetChange({"A/L0/001"}, {}, {}));
    const ChangeToken token = library.currentChangeToken();
    EXPECT_EQ(ChangeTracker::tokenFromText(library, ChangeTracker::tokenText(token)), token);
}

TEST(ChangeTracker, givesNoTokenForTextThatDoesNotHoldOneOfTheLibrarysTokens) {
    FakePhotoLibrary library;
    const std::string text = ChangeTracker::tokenText(library.currentChangeToken());
    FakePhotoLibrary other;
    other.setStoreIdentifier("another-store");

    EXPECT_EQ(ChangeTracker::tokenFromText(library, ""), std::nullopt);
    EXPECT_EQ(ChangeTracker::tokenFromText(library, "not base64!"), std::nullopt);
    EXPECT_EQ(ChangeTracker::tokenFromText(library, text + "\n"), std::nullopt);
    EXPECT_EQ(ChangeTracker::tokenFromText(library, ChangeTracker::tokenText(ChangeToken{"some other archive"})),
              std::nullopt);
    EXPECT_EQ(ChangeTracker::tokenFromText(other, text), std::nullopt);
}

} // namespace
} // namespace lorekeep
