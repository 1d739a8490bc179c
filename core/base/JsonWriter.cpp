#include "base/JsonWriter.h"

#include "base/Json.h"

#include <charconv>
#include <cmath>

namespace lorekeep {

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
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    m_out.append(text, result.ptr);
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
        const auto c = static_cast<unsigned char>(text[i]);
        const bool needsEscape = c < 0x20 || c == '"' || c == '\\' || (c == '/' && m_options.escapeSlashes);
        if (!needsEscape)
            continue;
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
