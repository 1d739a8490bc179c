#include "TiffDirectory.h"

#include <algorithm>

namespace lorekeep::sample {
namespace {

constexpr std::uint16_t stripOffsets = 0x0111;
constexpr std::uint16_t stripByteCounts = 0x0117;

void put16(std::string& out, std::uint16_t value) {
    out.push_back(static_cast<char>(value & 0xff));
    out.push_back(static_cast<char>(value >> 8));
}

void put32(std::string& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<char>((value >> shift) & 0xff));
}

void patch32(std::string& out, std::size_t at, std::uint32_t value) {
    for (int index = 0; index < 4; ++index)
        out[at + index] = static_cast<char>((value >> (8 * index)) & 0xff);
}

} // namespace

TiffDirectory& TiffDirectory::add(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::string value) {
    m_entries.push_back({tag, type, count, std::move(value), -1});
    return *this;
}

TiffDirectory& TiffDirectory::bytes(std::uint16_t tag, const std::vector<std::uint8_t>& values) {
    return add(tag, byte, static_cast<std::uint32_t>(values.size()), std::string(values.begin(), values.end()));
}

TiffDirectory& TiffDirectory::text(std::uint16_t tag, std::string_view value) {
    std::string stored(value);
    stored.push_back('\0');
    const auto count = static_cast<std::uint32_t>(stored.size());
    return add(tag, ascii, count, std::move(stored));
}

TiffDirectory& TiffDirectory::undefinedBytes(std::uint16_t tag, std::string_view value) {
    return add(tag, undefined, static_cast<std::uint32_t>(value.size()), std::string(value));
}

TiffDirectory& TiffDirectory::shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values) {
    std::string stored;
    for (const std::uint16_t value : values)
        put16(stored, value);
    return add(tag, shortType, static_cast<std::uint32_t>(values.size()), std::move(stored));
}

TiffDirectory& TiffDirectory::longs(std::uint16_t tag, const std::vector<std::uint32_t>& values) {
    std::string stored;
    for (const std::uint32_t value : values)
        put32(stored, value);
    return add(tag, longType, static_cast<std::uint32_t>(values.size()), std::move(stored));
}

TiffDirectory& TiffDirectory::rationals(std::uint16_t tag,
                                        const std::vector<std::pair<std::uint32_t, std::uint32_t>>& values) {
    std::string stored;
    for (const auto& [numerator, denominator] : values) {
        put32(stored, numerator);
        put32(stored, denominator);
    }
    return add(tag, rational, static_cast<std::uint32_t>(values.size()), std::move(stored));
}

TiffDirectory& TiffDirectory::signedRationals(std::uint16_t tag,
                                              const std::vector<std::pair<std::int32_t, std::int32_t>>& values) {
    std::string stored;
    for (const auto& [numerator, denominator] : values) {
        put32(stored, static_cast<std::uint32_t>(numerator));
        put32(stored, static_cast<std::uint32_t>(denominator));
    }
    return add(tag, srational, static_cast<std::uint32_t>(values.size()), std::move(stored));
}

TiffDirectory& TiffDirectory::child(std::uint16_t tag, TiffDirectory directory) {
    m_children.push_back(std::make_shared<const TiffDirectory>(std::move(directory)));
    m_entries.push_back({tag, longType, 1, std::string(4, '\0'), static_cast<int>(m_children.size() - 1)});
    return *this;
}

TiffDirectory& TiffDirectory::strip(std::string data) {
    m_strip = std::move(data);
    m_hasStrip = true;
    longs(stripOffsets, {0});
    return longs(stripByteCounts, {static_cast<std::uint32_t>(m_strip.size())});
}

std::string TiffDirectory::build() const {
    std::string out("II*\0", 4);
    put32(out, 8);
    write(out);
    return out;
}

void TiffDirectory::write(std::string& out) const {
    std::vector<const Entry*> entries;
    for (const Entry& entry : m_entries)
        entries.push_back(&entry);
    // Readers expect the tags of a directory in ascending order.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry* left, const Entry* right) { return left->tag < right->tag; });

    put16(out, static_cast<std::uint16_t>(entries.size()));
    std::vector<std::size_t> valueFields;
    for (const Entry* entry : entries) {
        put16(out, entry->tag);
        put16(out, entry->type);
        put32(out, entry->count);
        valueFields.push_back(out.size());
        std::string inline4 = entry->value.size() <= 4 ? entry->value : std::string();
        inline4.resize(4, '\0');
        out += inline4;
    }
    put32(out, 0); // no next directory

    // Values longer than four bytes follow the directory, each at an even offset.
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (entries[index]->value.size() <= 4)
            continue;
        if (out.size() % 2 != 0)
            out.push_back('\0');
        patch32(out, valueFields[index], static_cast<std::uint32_t>(out.size()));
        out += entries[index]->value;
    }
    if (m_hasStrip) {
        if (out.size() % 2 != 0)
            out.push_back('\0');
        for (std::size_t index = 0; index < entries.size(); ++index) {
            if (entries[index]->tag == stripOffsets)
                patch32(out, valueFields[index], static_cast<std::uint32_t>(out.size()));
        }
        out += m_strip;
    }
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (entries[index]->child < 0)
            continue;
        if (out.size() % 2 != 0)
            out.push_back('\0');
        patch32(out, valueFields[index], static_cast<std::uint32_t>(out.size()));
        m_children[entries[index]->child]->write(out);
    }
}

} // namespace lorekeep::sample
