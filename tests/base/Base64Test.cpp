#include "base/Base64.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using namespace std::literals;

TEST(Base64, encodesWithTheStandardAlphabetAndPadding) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {""sv, ""sv},         {"f"sv, "Zg=="sv},        {"fo"sv, "Zm8="sv},
        {"foo"sv, "Zm9v"sv},  {"foob"sv, "Zm9vYg=="sv}, {"\xfb\xff\xbf"sv, "+/+/"sv},
        {"\0\0"sv, "AAA="sv},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(base64::encode(bytes), text);
        EXPECT_EQ(base64::decode(text), std::string(bytes));
    }
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(base64::decode(base64::encode(all)), all);
}

TEST(Base64, rejectsAnythingButCanonicalText) {
    for (const auto text : {"Zg"sv, "Zg="sv, "Zm9v\n"sv, "Zm 9v"sv, "Zm9v\nYg=="sv, "-_-_"sv, "Zg=a"sv, "Z==="sv,
                            "===="sv, "Zh=="sv, "Zm9="sv, "Zg==Zg=="sv, "Zm9v\0"sv}) {
        EXPECT_EQ(base64::decode(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace lorekeep
