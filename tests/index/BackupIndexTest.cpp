#include "index/BackupIndex.h"
#include "base/Json.h"
#include "index/IndexLookup.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lorekeep {
namespace {

BackupIndex sampleIndex() {
    BackupIndex index;
    index.set("B/L0/001", {.modificationDate = Date::fromReferenceSeconds(737373737.123456),
                           .files = {{FileRole::original, "By Date/2024/05/x.heic", std::string(64, 'a'), 1234},
                                     {FileRole::livePhotoVideo, "By Date/2024/05/x.mov", std::string(64, 'b'), 99,
                                      "By Date/2024/05/x.xmp"}}});
    index.set("A/L0/001", {.files = {}});
    index.lastSuccessfulRun = Date::fromReferenceSeconds(750000000.5);
    index.changeToken = "YnBsaXN0MDA=";
    index.scopeKey = "albums=all;photos=true;videos=true;from=-;sharedLibrary=false;shared=false";
    return index;
}

TEST(BackupIndex, writesTheStoredFormExactly) {
    EXPECT_EQ(BackupIndex{}.toJson(), R"({"version":2,"assets":{}})");
    const std::string hashA(64, 'a'), hashB(64, 'b');
    EXPECT_EQ(sampleIndex().toJson(),
              R"({"version":2,"assets":{"A\/L0\/001":{"files":[]},"B\/L0\/001":{"modificationDate":737373737.123456,)"
              R"("files":[{"role":"original","relativePath":"By Date\/2024\/05\/x.heic","sha256":")" +
                  hashA +
                  R"(","bytes":1234},{"role":"livePhotoVideo","relativePath":"By Date\/2024\/05\/x.mov","sha256":")" +
                  hashB +
                  R"(","bytes":99,"xmpPath":"By Date\/2024\/05\/x.xmp"}]}},"lastSuccessfulRun":750000000.5,)"
                  R"("changeToken":"YnBsaXN0MDA=","scopeKey":"albums=all;photos=true;videos=true;from=-;)"
                  R"(sharedLibrary=false;shared=false"})");
}

TEST(BackupIndex, roundTripsThroughADestinationWithoutItsFolder) {
    test::TempDir destination;
    BackupIndex index = sampleIndex();
    index.lastVerified = Date::fromReferenceSeconds(-12.000001);
    index.save(destination.path());
    EXPECT_TRUE(std::filesystem::is_regular_file(destination / ".lorekeep/index.json"));
    EXPECT_EQ(BackupIndex::load(destination.path()), index);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(destination / ".lorekeep"), {}), 1)
        << "no temporary file is left beside the index";

    // Saving again replaces the file whole.
    index.remove("B/L0/001");
    index.save(destination.path());
    EXPECT_EQ(BackupIndex::load(destination.path()), index);
}

TEST(BackupIndex, loadsAnIndexLargerThanOneReadWithEveryKindOfCharacter) {
    // Large enough that strings, escapes and multibyte characters fall across the reader's window boundaries.
    const std::string odd[] = {"Urlaub in Köln", "日本/東京", "quote \" and back\\slash", "tab\tnewline\n\x01",
                               "emoji \xF0\x9F\x93\xB7"};
    test::TempDir destination;
    BackupIndex index;
    for (int number = 0; number < 4000; ++number) {
        const std::string name = odd[number % 5] + " " + std::to_string(number);
        index.set(name + "/L0/001", {.modificationDate = Date::fromReferenceSeconds(700000000.25 + number),
                                     .files = {{FileRole::original, "By Date/2024/" + name + ".jpg",
                                                std::string(64, 'c'), number * 1000LL, "By Date/" + name + ".xmp"}}});
    }
    index.save(destination.path());
    ASSERT_GT(std::filesystem::file_size(BackupIndex::location(destination.path())), 3u * 256 * 1024);
    EXPECT_EQ(BackupIndex::load(destination.path()), index);
}

TEST(BackupIndex, readsEscapesAndRefusesMalformedText) {
    const BackupIndex index = BackupIndex::fromJson(
        " {\"version\" : 2 ,\n\"assets\":{\"\\u00e9\\ud83d\\udcf7\\u0041\\b\\f\\r\":{\"files\":[ ]}} } \n");
    EXPECT_NE(index.find("\xC3\xA9\xF0\x9F\x93\xB7"
                         "A\b\f\r"),
              nullptr);

    const char* const bad[] = {
        R"({"version":2,"assets":{}} x)",
        R"({"version":2,"assets":{"\q":{"files":[]}}})",
        R"({"version":2,"assets":{"\ud83d":{"files":[]}}})",
        R"({"version":2,"assets":{"\udcf7":{"files":[]}}})",
        R"({"version":2,"assets":{"\u12":{"files":[]}}})",
        "{\"version\":2,\"assets\":{\"\xC3(\":{\"files\":[]}}}",
        "{\"version\":2,\"assets\":{\"\xED\xA0\x80\":{\"files\":[]}}}",
        "{\"version\":2,\"assets\":{\"a\tb\":{\"files\":[]}}}",
        R"({"version":02,"assets":{}})",
        R"({"version":-,"assets":{}})",
        R"({"version":2,"assets":{},"lastVerified":1.})",
        R"({"version":2,"assets":{},"lastVerified":1e})",
        R"({"version":2,"assets":{},"x":[1,]})",
        R"({"version":2,"assets":{},"x":{"a" 1}})",
        R"({"version":2,"assets":{},"x":tru})",
        R"({"version":2,"assets":{},})",
        R"({"version":2 "assets":{}})",
        R"({"version":99999999999999999999,"assets":{}})",
    };
    for (const char* text : bad)
        EXPECT_THROW((void)BackupIndex::fromJson(text), JsonError) << text;
}

TEST(BackupIndex, datesRoundTripExactly) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> seconds(-1e9, 1e9);
    BackupIndex index;
    for (int i = 0; i < 500; ++i)
        index.set(std::to_string(i), {.modificationDate = Date::fromReferenceSeconds(seconds(random))});
    EXPECT_EQ(BackupIndex::fromJson(index.toJson()), index);
}

TEST(BackupIndex, readsBothSlashFormsOtherVersionsAndUnknownKeys) {
    const BackupIndex index =
        BackupIndex::fromJson(R"({"version":7,"future":{"x":[1,{"y":null}]},"assets":{)"
                              R"("a/L0/001":{"files":[{"role":"edited","relativePath":"By Date/1",)"
                              R"("sha256":"s","bytes":5,"xmpPath":null,"extra":[]}],"more":1},)"
                              R"("b\/L0\/001":{"modificationDate":12,"files":[]}},)"
                              R"("changeToken":null,"lastVerified":3})");
    EXPECT_EQ(index.version, 7);
    ASSERT_NE(index.find("a/L0/001"), nullptr);
    EXPECT_EQ(index.find("a/L0/001")->files.at(0), (IndexedFile{FileRole::edited, "By Date/1", "s", 5, std::nullopt}));
    ASSERT_NE(index.find("b/L0/001"), nullptr);
    EXPECT_EQ(index.find("b/L0/001")->modificationDate, Date::fromReferenceSeconds(12));
    EXPECT_EQ(index.changeToken, std::nullopt);
    EXPECT_EQ(index.lastVerified, Date::fromReferenceSeconds(3));
    EXPECT_EQ(index.toJson().find("future"), std::string::npos);
}

TEST(BackupIndex, refusesIndexesThatLackRequiredKeysOrHaveWrongTypes) {
    const char* const bad[] = {
        R"({"assets":{}})",
        R"({"version":2})",
        R"({"version":"2","assets":{}})",
        R"({"version":2.5,"assets":{}})",
        R"({"version":2,"assets":[]})",
        R"({"version":2,"assets":{"a":{}}})",
        R"({"version":2,"assets":{"a":{"files":[{"role":"original","relativePath":"p","sha256":"s"}]}}})",
        R"({"version":2,"assets":{"a":{"files":[{"role":"thumbnail","relativePath":"p","sha256":"s","bytes":1}]}}})",
        R"({"version":2,"assets":{"a":{"files":[{"role":"original","relativePath":"p","sha256":"s","bytes":1.5}]}}})",
        R"({"version":2,"assets":{"a":{"files":[{"role":"original","relativePath":null,"sha256":"s","bytes":1}]}}})",
        R"({"version":2,"assets":{"a":{"files":[]}},"scopeKey":5})",
        R"({"version":2,"assets":{"a":{"files":[7]}}})",
        R"([])",
        R"({"version":2,"assets":{})",
        "",
    };
    for (const char* text : bad)
        EXPECT_THROW((void)BackupIndex::fromJson(text), JsonError) << text;
}

TEST(BackupIndex, aSaveKeepingTheAssetsWritesWhatAFullSaveWould) {
    test::TempDir destination;
    BackupIndex index = sampleIndex();
    index.save(destination.path());
    std::optional<BackupIndex::StoredFile> stored;
    BackupIndex loaded = BackupIndex::load(destination.path(), stored);
    ASSERT_TRUE(stored.has_value());

    loaded.lastSuccessfulRun = Date::fromReferenceSeconds(760000000.25);
    loaded.changeToken = "bmV3";
    loaded.scopeKey.reset();
    loaded.lastVerified = Date::fromReferenceSeconds(1);
    ASSERT_TRUE(loaded.saveKeepingAssets(destination.path(), *stored));
    EXPECT_EQ(test::readFile(BackupIndex::location(destination.path())), loaded.toJson());
    EXPECT_EQ(BackupIndex::load(destination.path()), loaded);

    // The file is not the one loaded any more: nothing is written.
    const std::string current = test::readFile(BackupIndex::location(destination.path()));
    loaded.changeToken = "b3RoZXI=";
    EXPECT_FALSE(loaded.saveKeepingAssets(destination.path(), *stored));
    EXPECT_EQ(test::readFile(BackupIndex::location(destination.path())), current);

    // Files that do not start with the version and the assets are saved whole.
    for (const char* text :
         {R"({"assets":{},"version":2})", R"({"x":1,"version":2,"assets":{}})", R"({"version":2,"x":1,"assets":{}})"}) {
        test::writeFile(BackupIndex::location(destination.path()), text);
        (void)BackupIndex::load(destination.path(), stored);
        EXPECT_FALSE(stored.has_value()) << text;
    }
}

TEST(BackupIndex, loadReportsAMissingFile) {
    test::TempDir destination;
    EXPECT_THROW((void)BackupIndex::load(destination.path()), std::system_error);
    test::writeFile(destination / ".lorekeep/index.json", R"({"assets":{}})");
    EXPECT_THROW((void)BackupIndex::load(destination.path()), JsonError);
}

TEST(BackupIndex, countsFilesAndBytesAndEditsEntries) {
    BackupIndex index = sampleIndex();
    EXPECT_EQ(index.fileCount(), 2u);
    EXPECT_EQ(index.byteTotal(), 1333);
    index.set("A/L0/001", {.files = {{FileRole::original, "p", "s", 1LL << 40}}});
    EXPECT_EQ(index.fileCount(), 3u);
    EXPECT_EQ(index.byteTotal(), 1333 + (1LL << 40));
    EXPECT_TRUE(index.remove("A/L0/001"));
    EXPECT_FALSE(index.remove("A/L0/001"));
    EXPECT_EQ(index.find("A/L0/001"), nullptr);
}

TEST(IndexLookup, findsWhatTheIndexHoldsIncludingEntriesAddedOrReplacedLater) {
    BackupIndex index;
    for (int number = 0; number < 1000; ++number)
        index.set("A" + std::to_string(number) + "/L0/001", {.modificationDate = Date::fromReferenceSeconds(number)});
    const IndexLookup lookup(index);
    for (int number = 0; number < 1000; ++number) {
        const std::string id = "A" + std::to_string(number) + "/L0/001";
        ASSERT_EQ(lookup.find(id), index.find(id)) << id;
    }
    EXPECT_EQ(lookup.find("A1000/L0/001"), nullptr);
    EXPECT_EQ(lookup.find(""), nullptr);

    index.set("B/L0/001", {});
    index.set("A7/L0/001", {.modificationDate = Date::fromReferenceSeconds(-7)});
    ASSERT_NE(lookup.find("B/L0/001"), nullptr);
    EXPECT_EQ(lookup.find("B/L0/001"), index.find("B/L0/001"));
    EXPECT_EQ(lookup.find("A7/L0/001")->modificationDate, Date::fromReferenceSeconds(-7));
}

TEST(IndexLookup, knowsWhichEntriesAWalkDidNotMeetAndForgetsRemovedOnes) {
    BackupIndex index;
    std::vector<std::string> ids;
    for (int number = 0; number < 300; ++number)
        ids.push_back("C" + std::to_string(number) + "/L0/001");
    for (const std::string& id : ids)
        index.set(id, {});
    IndexLookup lookup(index);
    std::vector<std::string> unmet;
    for (std::size_t number = 0; number < ids.size(); ++number) {
        if (number % 3 == 0)
            EXPECT_EQ(lookup.meet(ids[number]), index.find(ids[number]));
        else
            unmet.push_back(ids[number]);
    }
    EXPECT_EQ(lookup.meet("new/L0/001"), nullptr);
    index.set("new/L0/001", {});
    EXPECT_NE(lookup.meet("new/L0/001"), nullptr);
    std::sort(unmet.begin(), unmet.end());
    EXPECT_EQ(lookup.unmet(), unmet);

    // Removed entries, forgotten first, are not found; the others still are, past the slots they leave.
    for (std::size_t number = 1; number < ids.size(); number += 3) {
        lookup.forget(ids[number]);
        index.remove(ids[number]);
    }
    for (std::size_t number = 0; number < ids.size(); ++number)
        EXPECT_EQ(lookup.find(ids[number]), number % 3 == 1 ? nullptr : index.find(ids[number])) << ids[number];
    EXPECT_EQ(lookup.unmet().size(), 100u);
}

} // namespace
} // namespace lorekeep
