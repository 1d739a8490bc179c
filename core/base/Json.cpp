#include "base/Json.h"

#include <rapidjson/error/en.h>

namespace lorekeep::json {
namespace {

const Value* member(const Value& object, const char* key) {
    const auto it = object.FindMember(key);
    if (it == object.MemberEnd() || it->value.IsNull())
        return nullptr;
    return &it->value;
}

[[noreturn]] void wrongType(const char* key, const char* expected) {
    throw JsonError(std::string("\"") + key + "\" is not " + expected);
}

[[noreturn]] void missing(const char* key) {
    throw JsonError(std::string("\"") + key + "\" is missing");
}

template <typename T>
T required(std::optional<T> value, const char* key) {
    if (!value)
        missing(key);
    return std::move(*value);
}

} // namespace

rapidjson::Document parse(std::string_view text) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(text.data(), text.size());
    if (document.HasParseError()) {
        throw JsonError(std::string("invalid JSON at offset ") + std::to_string(document.GetErrorOffset()) + ": " +
                        rapidjson::GetParseError_En(document.GetParseError()));
    }
    return document;
}

const Value& asObject(const Value& value, std::string_view what) {
    if (!value.IsObject())
        throw JsonError(std::string(what) + " is not an object");
    return value;
}

std::optional<bool> optionalBool(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->IsBool())
        wrongType(key, "a boolean");
    return value->GetBool();
}

std::optional<std::string> optionalString(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->IsString())
        wrongType(key, "a string");
    return std::string(value->GetString(), value->GetStringLength());
}

std::optional<double> optionalNumber(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->IsNumber())
        wrongType(key, "a number");
    return value->GetDouble();
}

std::optional<std::int64_t> optionalInt64(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->IsInt64())
        wrongType(key, "an integer");
    return value->GetInt64();
}

const Value* optionalArray(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (value && !value->IsArray())
        wrongType(key, "an array");
    return value;
}

const Value* optionalObject(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (value && !value->IsObject())
        wrongType(key, "an object");
    return value;
}

bool requiredBool(const Value& object, const char* key) {
    return required(optionalBool(object, key), key);
}

std::string requiredString(const Value& object, const char* key) {
    return required(optionalString(object, key), key);
}

double requiredNumber(const Value& object, const char* key) {
    return required(optionalNumber(object, key), key);
}

std::int64_t requiredInt64(const Value& object, const char* key) {
    return required(optionalInt64(object, key), key);
}

const Value& requiredArray(const Value& object, const char* key) {
    const Value* value = optionalArray(object, key);
    if (!value)
        missing(key);
    return *value;
}

const Value& requiredObject(const Value& object, const char* key) {
    const Value* value = optionalObject(object, key);
    if (!value)
        missing(key);
    return *value;
}

std::string stringElement(const Value& element, const char* arrayKey) {
    if (!element.IsString())
        throw JsonError(std::string("an element of \"") + arrayKey + "\" is not a string");
    return {element.GetString(), element.GetStringLength()};
}

} // namespace lorekeep::json
