#include "base/JsonWriter.h"
#include "base/Json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace lorekeep {
namespace {

TEST(JsonWriter, writesCompactTextWithEscapedSlashesAndRawUnicode) {
    JsonWriter writer;
    writer.startObject();
    writer.key("path");
    writer.string("By Date/2024/05/\"q\"\\\n\x01 Ünïcode");
    writer.key("list");
    writer.startArray();
    writer.integer(-3);
    writer.boolean(true);
    writer.null();
    writer.startObject();
    writer.endObject();
    writer.endArray();
    writer.endObject();
    EXPECT_EQ(writer.output(), R"({"path":"By Date\/2024\/05\/\"q\"\\\n\u0001 Ünïcode","list":[-3,true,null,{}]})");
}

TEST(JsonWriter, escapesEveryCharacterThatNeedsItWhereverItFallsInALongString) {
    // Strings are scanned several bytes at a time: each special character at each position of a long run.
    for (const char special : {'"', '\\', '/', '\n', '\x1f', '\x7f'}) {
        for (std::size_t at = 0; at < 20; ++at) {
            std::string text(24, 'a');
            text[at] = special;
            text += "\xC3\xA9"; // non-ASCII bytes stay as they are
            JsonWriter writer;
            writer.string(text);
            EXPECT_EQ(json::parse(writer.output()).get<std::string>(), text) << int(special) << " at " << at;
            const bool escaped = special != '\x7f';
            EXPECT_EQ(writer.output().size(), text.size() + 2 + (special == '\x1f' ? 5 : escaped ? 1 : 0));
        }
    }
}

TEST(JsonWriter, writesPrettyTextWithSpacedColonsAndPlainSlashes) {
    JsonWriter writer({.pretty = true, .escapeSlashes = false});
    writer.startObject();
    writer.key("a/b");
    writer.startArray();
    writer.string("x/y");
    writer.endArray();
    writer.key("empty");
    writer.startArray();
    writer.endArray();
    writer.endObject();
    EXPECT_EQ(writer.output(), "{\n  \"a/b\" : [\n    \"x/y\"\n  ],\n  \"empty\" : []\n}");
}

TEST(JsonWriter, numbersReadBackToTheSameDouble) {
    for (double value : {0.0, 1.0, -2.5, 737373737.123456789, 1e-7, 5e300, 0.1 + 0.2, -978307200.000001}) {
        JsonWriter writer;
        writer.startArray();
        writer.number(value);
        writer.endArray();
        const auto document = json::parse(writer.output());
        EXPECT_EQ(document[0].get<double>(), value) << writer.output();
    }
    JsonWriter writer;
    writer.startArray();
    writer.number(722334455.0);
    writer.endArray();
    EXPECT_EQ(writer.output(), "[722334455]");
    EXPECT_THROW(writer.number(std::numeric_limits<double>::quiet_NaN()), JsonError);
    EXPECT_THROW(writer.number(INFINITY), JsonError);
}

TEST(Json, accessorsNameTheKeyOfAMissingOrMistypedMember) {
    const auto document = json::parse(R"({"flag":1,"name":"x","list":["a",2]})");
    EXPECT_EQ(json::optionalString(document, "name"), "x");
    EXPECT_EQ(json::optionalBool(document, "absent"), std::nullopt);
    try {
        (void)json::optionalBool(document, "flag");
        FAIL();
    } catch (const JsonError& error) {
        EXPECT_STREQ(error.what(), "\"flag\" is not a boolean");
    }
    EXPECT_THROW((void)json::requiredString(document, "absent"), JsonError);
    EXPECT_THROW((void)json::stringElement(json::requiredArray(document, "list")[1], "list"), JsonError);
    EXPECT_THROW((void)json::parse("{\"a\":"), JsonError);
}

} // namespace
} // namespace lorekeep
