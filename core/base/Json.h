#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lorekeep {

/// A JSON document that could not be read or written, or a member with the wrong type.
class JsonError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Helpers for reading small keyed JSON documents held in a RapidJSON DOM. Large documents (the backup index) are
/// read with the SAX interface instead. Every accessor throws JsonError naming the key when a member is missing
/// (required forms) or has the wrong type (all forms).
namespace json {

using Value = rapidjson::Value;

/// Parses text; full-precision numbers, so doubles read back exactly what was written.
rapidjson::Document parse(std::string_view text);

/// The object form of a value; throws when it is not an object. `what` names it in the error.
const Value& asObject(const Value& value, std::string_view what);

std::optional<bool> optionalBool(const Value& object, const char* key);
std::optional<std::string> optionalString(const Value& object, const char* key);
std::optional<double> optionalNumber(const Value& object, const char* key);
std::optional<std::int64_t> optionalInt64(const Value& object, const char* key);
/// The array member, or nullptr when the key is absent.
const Value* optionalArray(const Value& object, const char* key);
const Value* optionalObject(const Value& object, const char* key);

bool requiredBool(const Value& object, const char* key);
std::string requiredString(const Value& object, const char* key);
double requiredNumber(const Value& object, const char* key);
std::int64_t requiredInt64(const Value& object, const char* key);
const Value& requiredArray(const Value& object, const char* key);
const Value& requiredObject(const Value& object, const char* key);

/// A string element of an array; throws when it is not a string.
std::string stringElement(const Value& element, const char* arrayKey);

} // namespace json
} // namespace lorekeep
