#include "PropertyListWriter.h"

#include "base/Base64.h"

#include <stdexcept>

namespace lorekeep::sample {
namespace {

void putBigEndian(std::string& out, std::uint64_t value, int bytes) {
    for (int index = bytes - 1; index >= 0; --index)
        out.push_back(static_cast<char>((value >> (8 * index)) & 0xff));
}

std::string integerObject(std::int64_t value) {
    std::string out;
    const auto bits = static_cast<std::uint64_t>(value);
    if (value >= 0 && value <= 0xff) {
        out.push_back('\x10');
        putBigEndian(out, bits, 1);
    } else if (value >= 0 && value <= 0xffff) {
        out.push_back('\x11');
        putBigEndian(out, bits, 2);
    } else if (value >= 0 && value <= 0xffffffffLL) {
        out.push_back('\x12');
        putBigEndian(out, bits, 4);
    } else {
        out.push_back('\x13');
        putBigEndian(out, bits, 8);
    }
    return out;
}

/// The marker byte of a sized object, with its size in the low nibble or as a following integer.
std::string sizedMarker(unsigned kind, std::size_t size) {
    if (size < 15)
        return std::string(1, static_cast<char>((kind << 4) | size));
    return std::string(1, static_cast<char>((kind << 4) | 0xf)) + integerObject(static_cast<std::int64_t>(size));
}

std::string stringObject(const std::string& text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) > 0x7f)
            throw std::invalid_argument("property list strings here are ASCII");
    }
    return sizedMarker(0x5, text.size()) + text;
}

class ObjectTable {
public:
    std::size_t addEncoded(std::string encoded) {
        m_objects.push_back(std::move(encoded));
        return m_objects.size() - 1;
    }
    std::string& at(std::size_t index) { return m_objects[index]; }

    std::size_t addValue(const PropertyListValue& value) {
        if (const auto* number = std::get_if<std::int64_t>(&value))
            return addEncoded(integerObject(*number));
        if (const auto* text = std::get_if<std::string>(&value))
            return addEncoded(stringObject(*text));
        if (const auto* data = std::get_if<PropertyListData>(&value))
            return addEncoded(sizedMarker(0x4, data->bytes.size()) + data->bytes);
        const auto& array = std::get<std::vector<std::string>>(value);
        const std::size_t self = addEncoded(sizedMarker(0xa, array.size()));
        for (const std::string& element : array) {
            const std::size_t reference = addEncoded(stringObject(element));
            at(self).push_back(static_cast<char>(reference));
        }
        return self;
    }

    [[nodiscard]] std::string file() const {
        std::string out = "bplist00";
        std::vector<std::size_t> offsets;
        for (const std::string& object : m_objects) {
            offsets.push_back(out.size());
            out += object;
        }
        const std::size_t tableOffset = out.size();
        const int offsetSize = tableOffset <= 0xff ? 1 : (tableOffset <= 0xffff ? 2 : 4);
        for (const std::size_t offset : offsets)
            putBigEndian(out, offset, offsetSize);
        out += std::string(6, '\0');
        out.push_back(static_cast<char>(offsetSize));
        out.push_back('\1'); // object references are one byte
        putBigEndian(out, m_objects.size(), 8);
        putBigEndian(out, 0, 8); // the top object
        putBigEndian(out, tableOffset, 8);
        return out;
    }

    [[nodiscard]] std::size_t size() const { return m_objects.size(); }

private:
    std::vector<std::string> m_objects;
};

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out.push_back(c);
        }
    }
    return out;
}

} // namespace

std::string PropertyListWriter::binary(const PropertyListEntries& entries) {
    ObjectTable table;
    const std::size_t top = table.addEncoded(sizedMarker(0xd, entries.size()));
    std::string keys;
    std::string values;
    for (const auto& [key, value] : entries)
        keys.push_back(static_cast<char>(table.addEncoded(stringObject(key))));
    for (const auto& [key, value] : entries)
        values.push_back(static_cast<char>(table.addValue(value)));
    if (table.size() > 0xff)
        throw std::invalid_argument("property list too large for one-byte references");
    table.at(top) += keys + values;
    return table.file();
}

std::string PropertyListWriter::xml(const PropertyListEntries& entries) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : entries) {
        out += "\t<key>" + escaped(key) + "</key>\n";
        if (const auto* number = std::get_if<std::int64_t>(&value)) {
            out += "\t<integer>" + std::to_string(*number) + "</integer>\n";
        } else if (const auto* text = std::get_if<std::string>(&value)) {
            out += "\t<string>" + escaped(*text) + "</string>\n";
        } else if (const auto* data = std::get_if<PropertyListData>(&value)) {
            const std::string encoded = base64::encode(data->bytes);
            out += "\t<data>\n";
            for (std::size_t start = 0; start < encoded.size(); start += 68)
                out += "\t" + encoded.substr(start, 68) + "\n";
            out += "\t</data>\n";
        } else {
            out += "\t<array>\n";
            for (const std::string& element : std::get<std::vector<std::string>>(value))
                out += element.empty() ? "\t\t<string></string>\n" : "\t\t<string>" + escaped(element) + "</string>\n";
            out += "\t</array>\n";
        }
    }
    out += "</dict>\n</plist>\n";
    return out;
}

} // namespace lorekeep::sample
