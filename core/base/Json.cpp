#include "base/Json.h"

#include <nlohmann/json.hpp>

namespace lorekeep::json {
namespace {

const Value* member(const Value& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null())
        return nullptr;
    return &*it;
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

Value parse(std::string_view text) {
    try {
        return Value::parse(text.begin(), text.end());
    } catch (const Value::parse_error& error) {
        throw JsonError(syntaxError(error.byte, error.what()));
    }
}

std::string syntaxError(std::size_t offset, std::string_view parserMessage) {
    // The parser's texts begin with its own exception name in brackets and repeat the position: the offset says
    // it once.
    if (const std::size_t reason = parserMessage.find(": "); reason != std::string_view::npos)
        parserMessage.remove_prefix(reason + 2);
    return "invalid JSON at offset " + std::to_string(offset) + ": " + std::string(parserMessage);
}

const Value& asObject(const Value& value, std::string_view what) {
    if (!value.is_object())
        throw JsonError(std::string(what) + " is not an object");
    return value;
}

std::optional<bool> optionalBool(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_boolean())
        wrongType(key, "a boolean");
    return value->get<bool>();
}

std::optional<std::string> optionalString(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_string())
        wrongType(key, "a string");
    return value->get<std::string>();
}

std::optional<double> optionalNumber(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_number())
        wrongType(key, "a number");
    return value->get<double>();
}

std::optional<std::int64_t> optionalInt64(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (value->is_number_unsigned() && value->get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
        wrongType(key, "an integer");
    if (!value->is_number_integer())
        wrongType(key, "an integer");
    return value->get<std::int64_t>();
}

const Value* optionalArray(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (value && !value->is_array())
        wrongType(key, "an array");
    return value;
}

const Value* optionalObject(const Value& object, const char* key) {
    const Value* value = member(object, key);
    if (value && !value->is_object())
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
    if (!element.is_string())
        throw JsonError(std::string("an element of \"") + arrayKey + "\" is not a string");
    return element.get<std::string>();
}

FileChars::FileChars(std::FILE* file) : m_file(file), m_buffer(std::make_unique_for_overwrite<char[]>(bufferSize)) {
    fill();
}

bool FileChars::fill() {
    m_position = 0;
    m_length = std::fread(m_buffer.get(), 1, bufferSize, m_file);
    return m_length > 0;
}

} // namespace lorekeep::json
