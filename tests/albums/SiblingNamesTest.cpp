#include "albums/SiblingNames.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

TEST(SiblingNames, cleansTitlesIntoSafeVisibleFolderNames) {
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
        {"Trip", "Trip"},
        {".hidden", "_.hidden"},
        {"a/b: c", "a-b- c"},
        {"   ", "Untitled"},
        {" \t\n", "Untitled"},
        {std::nullopt, "Untitled"},
        {"", "Untitled"},
        {"\u00a0 Summer \u3000\n", "Summer"},
        {"  .profile ", "_.profile"},
        {"..", "_.."},
        {"../../x", "_..-..-x"},
        {"/", "-"},
        {std::string("a\0b", 3), "a-b"},
        {"Ünïcödé 🌅", "Ünïcödé 🌅"},
    };
    for (const auto& [title, expected] : cases)
        EXPECT_EQ(cleanFolderName(title), expected) << (title ? *title : "(none)");
}

TEST(SiblingNames, numbersNamesThatDifferOnlyInCase) {
    SiblingNames siblings;
    EXPECT_EQ(siblings.claim("Trip"), "Trip");
    EXPECT_EQ(siblings.claim("trip"), "trip (2)");
    EXPECT_EQ(siblings.claim("Trip"), "Trip (3)");
    // A numbered name that is already taken is numbered again, never reused.
    EXPECT_EQ(siblings.claim("TRIP (2)"), "TRIP (2) (2)");
    EXPECT_EQ(siblings.claim("Ärger"), "Ärger");
    EXPECT_EQ(siblings.claim("äRGER"), "äRGER (2)");
    EXPECT_EQ(siblings.claim("Море"), "Море");
    EXPECT_EQ(siblings.claim("море"), "море (2)");

    SiblingNames otherFolder;
    EXPECT_EQ(otherFolder.claim("trip"), "trip");
}

} // namespace
} // namespace lorekeep
