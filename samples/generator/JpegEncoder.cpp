#include "JpegEncoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>

namespace lorekeep::sample {
namespace {

using Block = std::array<double, 64>;

// The natural (row-major) index of each coefficient in zig-zag order.
constexpr std::array<int, 64> zigzag{0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                     12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                     35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                     58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// The example quantisation tables of the JPEG standard (Annex K), row-major.
constexpr std::array<int, 64> luminanceQuantisation{
    16, 11,  10,  16, 24, 40, 51, 61, 12,  12,  14,  19,  26, 58, 60, 55,  14,  13,  16,  24, 40, 57,
    69, 56,  14,  17, 22, 29, 51, 87, 80,  62,  18,  22,  37, 56, 68, 109, 103, 77,  24,  35, 55, 64,
    81, 104, 113, 92, 49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98,  112, 100, 103, 99};
constexpr std::array<int, 64> chrominanceQuantisation{17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,
                                                      24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,
                                                      99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
                                                      99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

struct HuffmanTable {
    std::array<std::uint8_t, 16> counts; // codes of each length 1..16
    std::vector<std::uint8_t> symbols;
};

// The typical Huffman tables of the JPEG standard (Annex K.3).
const HuffmanTable dcLuminance{{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                               {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
const HuffmanTable dcChrominance{{0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                 {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
const HuffmanTable acLuminance{
    {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d},
    {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71,
     0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72,
     0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37,
     0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59,
     0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
     0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3,
     0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3,
     0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2,
     0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};
const HuffmanTable acChrominance{
    {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77},
    {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61, 0x71, 0x13, 0x22,
     0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33, 0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1,
     0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18, 0x19, 0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36,
     0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58,
     0x59, 0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a,
     0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a,
     0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba,
     0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda,
     0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};

struct Code {
    std::uint16_t bits = 0;
    int length = 0;
};

/// Canonical codes of a table, by symbol (JPEG Annex C).
std::array<Code, 256> codesOf(const HuffmanTable& table) {
    std::array<Code, 256> codes{};
    std::uint16_t code = 0;
    std::size_t symbol = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int index = 0; index < table.counts[length - 1]; ++index)
            codes[table.symbols[symbol++]] = {code++, length};
        code = static_cast<std::uint16_t>(code << 1);
    }
    return codes;
}

std::array<int, 64> scaled(const std::array<int, 64>& table, int quality) {
    const int scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    std::array<int, 64> result{};
    for (std::size_t index = 0; index < 64; ++index)
        result[index] = std::clamp((table[index] * scale + 50) / 100, 1, 255);
    return result;
}

class BitWriter {
public:
    explicit BitWriter(std::string& out) : m_out(out) {}

    void put(std::uint32_t bits, int length) {
        for (int bit = length - 1; bit >= 0; --bit) {
            m_byte = static_cast<std::uint8_t>((m_byte << 1) | ((bits >> bit) & 1u));
            if (++m_count == 8)
                flushByte();
        }
    }
    void put(const Code& code) {
        if (code.length == 0)
            throw std::logic_error("JPEG symbol missing from its Huffman table");
        put(code.bits, code.length);
    }
    /// Pads the last byte with one bits, as the standard asks.
    void finish() {
        while (m_count != 0)
            put(1, 1);
    }

private:
    void flushByte() {
        m_out.push_back(static_cast<char>(m_byte));
        if (m_byte == 0xff)
            m_out.push_back('\0');
        m_byte = 0;
        m_count = 0;
    }

    std::string& m_out;
    std::uint8_t m_byte = 0;
    int m_count = 0;
};

/// The number of bits of a coefficient's magnitude and the bits that JPEG writes for it.
std::pair<int, std::uint32_t> magnitude(int value) {
    const int absolute = std::abs(value);
    int size = 0;
    while ((absolute >> size) != 0)
        ++size;
    const std::uint32_t bits =
        value >= 0 ? static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value + (1 << size) - 1);
    return {size, bits};
}

class Component {
public:
    Component(const std::array<int, 64>& quantisation, const HuffmanTable& dc, const HuffmanTable& ac)
        : m_quantisation(quantisation), m_dc(codesOf(dc)), m_ac(codesOf(ac)) {}

    void encode(const Block& samples, BitWriter& writer) {
        static const std::array<double, 64> cosines = [] {
            std::array<double, 64> table{};
            for (int x = 0; x < 8; ++x) {
                for (int u = 0; u < 8; ++u)
                    table[x * 8 + u] = std::cos((2 * x + 1) * u * std::numbers::pi / 16);
            }
            return table;
        }();
        // The two-dimensional DCT as one pass over the rows and one over the columns.
        Block rows{};
        for (int y = 0; y < 8; ++y) {
            for (int u = 0; u < 8; ++u) {
                double sum = 0;
                for (int x = 0; x < 8; ++x)
                    sum += samples[y * 8 + x] * cosines[x * 8 + u];
                rows[y * 8 + u] = sum;
            }
        }
        std::array<int, 64> quantised{};
        for (int v = 0; v < 8; ++v) {
            for (int u = 0; u < 8; ++u) {
                double sum = 0;
                for (int y = 0; y < 8; ++y)
                    sum += rows[y * 8 + u] * cosines[y * 8 + v];
                const double cu = u == 0 ? std::numbers::sqrt2 / 2 : 1.0;
                const double cv = v == 0 ? std::numbers::sqrt2 / 2 : 1.0;
                const double coefficient = 0.25 * cu * cv * sum;
                quantised[v * 8 + u] = static_cast<int>(std::lround(coefficient / m_quantisation[v * 8 + u]));
            }
        }

        const int difference = quantised[0] - m_previousDc;
        m_previousDc = quantised[0];
        const auto [dcSize, dcBits] = magnitude(difference);
        writer.put(m_dc[dcSize]);
        writer.put(dcBits, dcSize);

        int run = 0;
        for (int index = 1; index < 64; ++index) {
            const int value = quantised[zigzag[index]];
            if (value == 0) {
                ++run;
                continue;
            }
            for (; run >= 16; run -= 16)
                writer.put(m_ac[0xf0]);
            const auto [size, bits] = magnitude(value);
            writer.put(m_ac[(run << 4) | size]);
            writer.put(bits, size);
            run = 0;
        }
        if (run > 0)
            writer.put(m_ac[0x00]);
    }

private:
    const std::array<int, 64>& m_quantisation;
    std::array<Code, 256> m_dc;
    std::array<Code, 256> m_ac;
    int m_previousDc = 0;
};

void putWord(std::string& out, unsigned value) {
    out.push_back(static_cast<char>((value >> 8) & 0xff));
    out.push_back(static_cast<char>(value & 0xff));
}

void putSegment(std::string& out, unsigned marker, std::string_view payload) {
    putWord(out, marker);
    putWord(out, static_cast<unsigned>(payload.size() + 2));
    out.append(payload);
}

std::string quantisationPayload(int id, const std::array<int, 64>& table) {
    std::string payload(1, static_cast<char>(id));
    for (const int index : zigzag)
        payload.push_back(static_cast<char>(table[index]));
    return payload;
}

std::string huffmanPayload(int tableClass, int id, const HuffmanTable& table) {
    std::string payload(1, static_cast<char>((tableClass << 4) | id));
    for (const std::uint8_t count : table.counts)
        payload.push_back(static_cast<char>(count));
    for (const std::uint8_t symbol : table.symbols)
        payload.push_back(static_cast<char>(symbol));
    return payload;
}

} // namespace

JpegEncoder::JpegEncoder(int quality) : m_quality(std::clamp(quality, 1, 100)) {}

std::string JpegEncoder::encode(const Picture& picture, std::string_view exif) const {
    const std::array<int, 64> luminance = scaled(luminanceQuantisation, m_quality);
    const std::array<int, 64> chrominance = scaled(chrominanceQuantisation, m_quality);

    std::string out;
    putWord(out, 0xffd8);
    if (exif.empty())
        putSegment(out, 0xffe0, std::string_view("JFIF\0\1\1\0\0\1\0\1\0\0", 14));
    else
        putSegment(out, 0xffe1, std::string("Exif\0\0", 6) + std::string(exif));
    putSegment(out, 0xffdb, quantisationPayload(0, luminance) + quantisationPayload(1, chrominance));

    std::string frame(1, '\x08'); // 8-bit samples
    putWord(frame, static_cast<unsigned>(picture.height()));
    putWord(frame, static_cast<unsigned>(picture.width()));
    frame += std::string("\3\1\x11\0\2\x11\1\3\x11\1", 10);
    putSegment(out, 0xffc0, frame);
    putSegment(out, 0xffc4,
               huffmanPayload(0, 0, dcLuminance) + huffmanPayload(1, 0, acLuminance) +
                   huffmanPayload(0, 1, dcChrominance) + huffmanPayload(1, 1, acChrominance));
    putSegment(out, 0xffda, std::string("\3\1\0\2\x11\3\x11\0\x3f\0", 10));

    Component y(luminance, dcLuminance, acLuminance);
    Component cb(chrominance, dcChrominance, acChrominance);
    Component cr(chrominance, dcChrominance, acChrominance);
    BitWriter writer(out);
    for (int top = 0; top < picture.height(); top += 8) {
        for (int left = 0; left < picture.width(); left += 8) {
            Block luma{};
            Block blue{};
            Block red{};
            for (int row = 0; row < 8; ++row) {
                for (int column = 0; column < 8; ++column) {
                    // Edge blocks repeat the last row and column, which keeps their coefficients small.
                    const Rgb pixel = picture.at(std::min(left + column, picture.width() - 1),
                                                 std::min(top + row, picture.height() - 1));
                    const double r = pixel.red;
                    const double g = pixel.green;
                    const double b = pixel.blue;
                    luma[row * 8 + column] = 0.299 * r + 0.587 * g + 0.114 * b - 128;
                    blue[row * 8 + column] = -0.168736 * r - 0.331264 * g + 0.5 * b;
                    red[row * 8 + column] = 0.5 * r - 0.418688 * g - 0.081312 * b;
                }
            }
            y.encode(luma, writer);
            cb.encode(blue, writer);
            cr.encode(red, writer);
        }
    }
    writer.finish();
    putWord(out, 0xffd9);
    return out;
}

} // namespace lorekeep::sample
