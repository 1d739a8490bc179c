#include "library/photokit/PhotoKitFetch.h"

#include <gtest/gtest.h>

namespace lorekeep::photokit {
namespace {

using Op = Condition::Op;

struct PlanRow {
    const char* name;
    FetchOptions options;
    FetchKind kind;
    FetchPlan expected;
};

class FetchPlanTest : public testing::TestWithParam<PlanRow> {};

TEST_P(FetchPlanTest, turnsTheEngineOptionsIntoPhotoKitsOwn) {
    EXPECT_EQ(fetchPlan(GetParam().options, GetParam().kind), GetParam().expected);
}

const Date newYear = Date::fromUnixSeconds(1704067200);

INSTANTIATE_TEST_SUITE_P(
    PhotoKit, FetchPlanTest,
    testing::Values(
        PlanRow{"defaults", {}, FetchKind::wholeLibrary, {.sourceTypes = 3}},
        PlanRow{"ownLibraryNewestFirst",
                {.newestFirst = true, .sourceTypes = 1},
                FetchKind::inAlbum,
                {.newestFirst = true, .sourceTypes = 1}},
        // An empty set would read as "the user's library" to PhotoKit; a source it has no bit for is no source.
        PlanRow{"noSource", {.sourceTypes = 0}, FetchKind::wholeLibrary, {.matchesNothing = true}},
        PlanRow{"unknownSourceOnly", {.sourceTypes = 4}, FetchKind::wholeLibrary, {.matchesNothing = true}},
        PlanRow{"hiddenOnly",
                {.hiddenOnly = true},
                FetchKind::wholeLibrary,
                {.conditions = {{"isHidden", Op::equal, true}}, .includeHiddenAssets = true, .sourceTypes = 3}},
        // Identifier fetches return hidden assets regardless of includeHiddenAssets.
        PlanRow{"identifiersWithoutHidden",
                {},
                FetchKind::byIdentifiers,
                {.conditions = {{"isHidden", Op::equal, false}}, .sourceTypes = 3}},
        PlanRow{"identifiersWithHidden",
                {.includeHidden = true},
                FetchKind::byIdentifiers,
                {.includeHiddenAssets = true, .sourceTypes = 3}},
        PlanRow{
            "typeAndDate",
            {.mediaType = 2, .createdOnOrAfter = newYear},
            FetchKind::wholeLibrary,
            {.conditions = {{"mediaType", Op::equal, 2LL}, {"creationDate", Op::atLeast, newYear}}, .sourceTypes = 3}}),
    [](const testing::TestParamInfo<PlanRow>& row) { return row.param.name; });

} // namespace
} // namespace lorekeep::photokit
