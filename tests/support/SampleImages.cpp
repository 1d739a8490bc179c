#include "support/SampleImages.h"

#include "support/LibraryCopy.h"

#include <exiv2/exiv2.hpp>

#include <array>
#include <cstdint>
#include <stdexcept>

namespace lorekeep::test::SampleImages {
namespace {

constexpr int side = 16;

void bigEndian16(std::string& out, unsigned value) {
    out += static_cast<char>((value >> 8) & 0xff);
    out += static_cast<char>(value & 0xff);
}

void bigEndian32(std::string& out, std::uint32_t value) {
    bigEndian16(out, value >> 16);
    bigEndian16(out, value & 0xffff);
}

void littleEndian16(std::string& out, unsigned value) {
    out += static_cast<char>(value & 0xff);
    out += static_cast<char>((value >> 8) & 0xff);
}

void littleEndian32(std::string& out, std::uint32_t value) {
    littleEndian16(out, value & 0xffff);
    littleEndian16(out, value >> 16);
}

std::uint32_t readBigEndian32(std::string_view bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = (value << 8) | static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

std::uint32_t crc32(std::string_view bytes) {
    std::uint32_t crc = 0xffffffffu;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

std::uint32_t adler32(std::string_view bytes) {
    std::uint32_t a = 1, b = 0;
    for (const char byte : bytes) {
        a = (a + static_cast<unsigned char>(byte)) % 65521;
        b = (b + a) % 65521;
    }
    return (b << 16) | a;
}

void pngChunk(std::string& out, std::string_view type, std::string_view data) {
    bigEndian32(out, static_cast<std::uint32_t>(data.size()));
    std::string typed(type);
    typed += data;
    out += typed;
    bigEndian32(out, crc32(typed));
}

std::string gradientPixels() {
    std::string pixels;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            pixels += static_cast<char>((x * 16 + y * 7) & 0xff);
    }
    return pixels;
}

} // namespace

std::string jpeg() {
    std::string out = "\xff\xd8";
    // Quantisation table of ones.
    out += "\xff\xdb";
    bigEndian16(out, 67);
    out += '\0';
    out.append(64, '\x01');
    // Frame: 8-bit precision, 16 x 16, one component without subsampling.
    out += "\xff\xc0";
    bigEndian16(out, 11);
    out += '\x08';
    bigEndian16(out, side);
    bigEndian16(out, side);
    out += std::string("\x01\x01\x11\x00", 4);
    // DC and AC Huffman tables with one one-bit code each: DC category 0 and end-of-block.
    for (const char tableClass : {'\x00', '\x10'}) {
        out += "\xff\xc4";
        bigEndian16(out, 20);
        out += tableClass;
        out += '\x01';
        out.append(15, '\0');
        out += '\0';
    }
    out += "\xff\xda";
    bigEndian16(out, 8);
    out += std::string("\x01\x01\x00\x00\x3f\x00", 6);
    // Four blocks of "DC unchanged, end of block": eight zero bits.
    out += '\0';
    out += "\xff\xd9";
    return out;
}

std::string png() {
    std::string out = "\x89PNG\r\n\x1a\n";
    std::string header;
    bigEndian32(header, side);
    bigEndian32(header, side);
    header += std::string("\x08\x00\x00\x00\x00", 5);
    pngChunk(out, "IHDR", header);

    std::string rows;
    const std::string pixels = gradientPixels();
    for (int y = 0; y < side; ++y) {
        rows += '\0';
        rows += pixels.substr(static_cast<std::size_t>(y * side), side);
    }
    // zlib stream with one stored (uncompressed) deflate block.
    std::string stream = "\x78\x01";
    stream += '\x01';
    littleEndian16(stream, static_cast<unsigned>(rows.size()));
    littleEndian16(stream, static_cast<unsigned>(~rows.size() & 0xffff));
    stream += rows;
    bigEndian32(stream, adler32(rows));
    pngChunk(out, "IDAT", stream);
    pngChunk(out, "IEND", "");
    return out;
}

std::string tiff() {
    struct Entry {
        unsigned tag, type;
        std::uint32_t value;
    };
    constexpr unsigned shortType = 3, longType = 4;
    constexpr std::uint32_t entries = 9;
    constexpr std::uint32_t pixelOffset = 8 + 2 + entries * 12 + 4;
    const std::array<Entry, entries> ifd{{
        {256, shortType, side},       // ImageWidth
        {257, shortType, side},       // ImageLength
        {258, shortType, 8},          // BitsPerSample
        {259, shortType, 1},          // Compression: none
        {262, shortType, 1},          // PhotometricInterpretation: black is zero
        {273, longType, pixelOffset}, // StripOffsets
        {277, shortType, 1},          // SamplesPerPixel
        {278, shortType, side},       // RowsPerStrip
        {279, longType, side * side}, // StripByteCounts
    }};
    std::string out = "II*";
    out += '\0';
    littleEndian32(out, 8);
    littleEndian16(out, entries);
    for (const Entry& entry : ifd) {
        littleEndian16(out, entry.tag);
        littleEndian16(out, entry.type);
        littleEndian32(out, 1);
        littleEndian32(out, entry.value);
    }
    littleEndian32(out, 0);
    out += gradientPixels();
    return out;
}

std::string jpegScanData(std::string_view file) {
    std::size_t at = 2;
    while (at + 4 <= file.size()) {
        if (static_cast<unsigned char>(file[at]) != 0xff)
            throw std::runtime_error("not a JPEG marker");
        if (static_cast<unsigned char>(file[at + 1]) == 0xda)
            return std::string(file.substr(at));
        at += 2 + (static_cast<unsigned char>(file[at + 2]) << 8 | static_cast<unsigned char>(file[at + 3]));
    }
    throw std::runtime_error("no start of scan");
}

std::string pngImageData(std::string_view file) {
    std::string data;
    for (std::size_t at = 8; at + 12 <= file.size();) {
        const std::uint32_t length = readBigEndian32(file, at);
        if (file.substr(at + 4, 4) == "IDAT")
            data += file.substr(at + 8, length);
        at += 12 + length;
    }
    return data;
}

std::string tiffStripData(const std::filesystem::path& file) {
    auto image = Exiv2::ImageFactory::open(file.string());
    image->readMetadata();
    const Exiv2::ExifData& exif = image->exifData();
    const auto offsets = exif.findKey(Exiv2::ExifKey("Exif.Image.StripOffsets"));
    const auto counts = exif.findKey(Exiv2::ExifKey("Exif.Image.StripByteCounts"));
    if (offsets == exif.end() || counts == exif.end() || offsets->count() != counts->count())
        throw std::runtime_error("no strips in " + file.string());
    std::string bytes;
    Exiv2::BasicIo& io = image->io();
    io.open();
    for (long i = 0; i < offsets->count(); ++i) {
        Exiv2::DataBuf strip(counts->toLong(i));
        io.seek(offsets->toLong(i), Exiv2::BasicIo::beg);
        io.read(strip.pData_, strip.size_);
        bytes.append(reinterpret_cast<const char*>(strip.pData_), static_cast<std::size_t>(strip.size_));
    }
    io.close();
    return bytes;
}

std::filesystem::path libraryOriginal(std::string_view extension) {
    const std::filesystem::path originals = realLibrary("Test-Media-Types-15.7.2.photoslibrary") / "originals";
    std::filesystem::path file;
    if (extension == "jpeg")
        file = originals / "D/D87BFE7E-A479-4ECD-98E8-1A8D06EF607E.jpeg";
    else if (extension == "heic")
        file = originals / "5/5F9BCC2D-D1DF-46D8-8F70-C142B25D3DC3.heic";
    else if (extension == "mov")
        file = originals / "4/420451DF-5299-41C1-8B71-83E1598D6F5C.mov";
    else if (extension == "png")
        file = originals / "A/A344F711-313A-4D64-AA6D-108013A43DD4.png";
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) ? file : std::filesystem::path();
}

} // namespace lorekeep::test::SampleImages
