#include "base/JsonWriter.h"

#include "base/Json.h"
#include "base/JsonText.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace lorekeep {
namespace {

// The shortest text that reads back as the same double. Apple's C++ library has std::to_chars for floating point
// only from macOS 13.3 on; there, the first of precisions 15 to 17 that reads back exactly is the short form (%g trims
// trailing zeros). printf follows the C locale, which an application may have set to one with a decimal comma.
void appendShortest(std::string& out, double value) {
    char text[40];
#if defined(__APPLE__)
    int length = 0;
    for (int precision = 15; precision <= 17; ++precision) {
        length = std::snprintf(text, sizeof text, "%.*g", precision, value);
        if (std::strtod(text, nullptr) == value)
            break;
    }
    const char* point = std::localeconv()->decimal_point;
    const std::size_t pointLength = std::strlen(point);
    if (std::strcmp(point, ".") != 0 && pointLength > 0) {
        if (char* found = std::strstr(text, point)) {
            const auto at = static_cast<std::size_t>(found - text);
            *found = '.';
            std::memmove(found + 1, found + pointLength, static_cast<std::size_t>(length) - at - pointLength + 1);
            length -= static_cast<int>(pointLength) - 1;
        }
    }
    out.append(text, static_cast<std::size_t>(length));
#else
    const auto result = std::to_chars(text, text + sizeof text, value);
    out.append(text, result.ptr);
#endif
}

} // namespace

void JsonWriter::startObject() {
    beforeValue();
    m_out += '{';
    m_levels.push_back({.isObject = true});
}

void JsonWriter::endObject() {
    close('}');
}

void JsonWriter::startArray() {
    beforeValue();
    m_out += '[';
    m_levels.push_back({.isObject = false});
}

void JsonWriter::endArray() {
    close(']');
}

void JsonWriter::close(char bracket) {
    const bool empty = m_levels.back().empty;
    m_levels.pop_back();
    if (!empty)
        newline();
    m_out += bracket;
}

void JsonWriter::key(std::string_view name) {
    Level& level = m_levels.back();
    if (!level.empty)
        m_out += ',';
    level.empty = false;
    newline();
    appendEscaped(name);
    m_out += m_options.pretty ? " : " : ":";
    m_afterKey = true;
}

void JsonWriter::beforeValue() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_levels.empty())
        return;
    Level& level = m_levels.back();
    if (!level.empty)
        m_out += ',';
    level.empty = false;
    newline();
}

void JsonWriter::newline() {
    if (!m_options.pretty)
        return;
    m_out += '\n';
    m_out.append(2 * m_levels.size(), ' ');
}

void JsonWriter::string(std::string_view value) {
    beforeValue();
    appendEscaped(value);
}

void JsonWriter::number(double value) {
    if (!std::isfinite(value))
        throw JsonError("a number that is not finite cannot be written as JSON");
    beforeValue();
    appendShortest(m_out, value);
}

void JsonWriter::integer(std::int64_t value) {
    beforeValue();
    char text[24];
    const auto result = std::to_chars(text, text + sizeof text, value);
    m_out.append(text, result.ptr);
}

void JsonWriter::boolean(bool value) {
    beforeValue();
    m_out += value ? "true" : "false";
}

void JsonWriter::null() {
    beforeValue();
    m_out += "null";
}

void JsonWriter::appendEscaped(std::string_view text) {
    static constexpr char hex[] = "0123456789abcdef";
    m_out += '"';
    std::size_t plainFrom = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        i += json::plainRun(text.data() + i, text.data() + text.size(), m_options.escapeSlashes, false);
        if (i == text.size())
            break;
        const auto c = static_cast<unsigned char>(text[i]);
        m_out.append(text.data() + plainFrom, i - plainFrom);
        plainFrom = i + 1;
        m_out += '\\';
        switch (c) {
        case '"':
        case '\\':
        case '/':
            m_out += static_cast<char>(c);
            break;
        case '\b':
            m_out += 'b';
            break;
        case '\f':
            m_out += 'f';
            break;
        case '\n':
            m_out += 'n';
            break;
        case '\r':
            m_out += 'r';
            break;
        case '\t':
            m_out += 't';
            break;
        default:
            m_out += "u00";
            m_out += hex[c >> 4];
            m_out += hex[c & 0xf];
        }
    }
    m_out.append(text.data() + plainFrom, text.size() - plainFrom);
    m_out += '"';
}

} // namespace lorekeep
