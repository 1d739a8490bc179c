#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
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

/// Helpers for reading small keyed JSON documents held in a document tree. Large documents (the backup index, the
/// album manifest) are read event by event instead. Every accessor throws JsonError naming the key when a member
/// is missing (required forms) or has the wrong type (all forms); a null member counts as a missing one.
namespace json {

using Value = nlohmann::json;

/// Parses text. Numbers read back exactly what was written.
Value parse(std::string_view text);

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

/// The text of a syntax error found at a byte offset: "invalid JSON at offset 12: ...".
std::string syntaxError(std::size_t offset, std::string_view parserMessage);

/// The bytes of an open file as an input range, read in large pieces, for the event readers: a file of tens of
/// megabytes streams through without being held. A read error ends the range early; the caller checks ferror.
class FileChars {
public:
    explicit FileChars(std::FILE* file);

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using pointer = const char*;
        using reference = const char&;

        Iterator() = default;
        explicit Iterator(FileChars* chars) : m_chars(chars) {}
        reference operator*() const { return m_chars->m_buffer[m_chars->m_position]; }
        Iterator& operator++() {
            if (++m_chars->m_position == m_chars->m_length && !m_chars->fill())
                m_chars = nullptr;
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        FileChars* m_chars = nullptr;
    };

    Iterator begin() { return m_length > 0 ? Iterator(this) : Iterator(); }
    Iterator end() { return {}; }

private:
    bool fill();

    static constexpr std::size_t bufferSize = 256 * 1024;
    std::FILE* m_file;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_position = 0;
    std::size_t m_length = 0;
};

} // namespace json
} // namespace lorekeep
