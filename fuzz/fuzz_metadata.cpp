// The metadata writer over damaged images: the first byte picks the kind of file, the rest is its contents. A
// failed embed must leave the file exactly as it was and no temporary file beside it.
#include "FuzzSupport.h"
#include "export/AssetMeta.h"
#include "export/MetadataWriter.h"

#include <cstdint>
#include <cstdlib>
#include <exiv2/exiv2.hpp>

namespace {

namespace fs = std::filesystem;

lorekeep::AssetMeta meta() {
    lorekeep::AssetMeta record;
    record.localIdentifier = "6F1C2A4E-0000-4000-8000-000000000001/L0/001";
    record.originalFilename = "IMG_0001.JPG";
    record.creationDate = lorekeep::Date::fromReferenceSeconds(700000000);
    record.latitude = 48.8584;
    record.longitude = 2.2945;
    record.altitude = 35;
    record.favorite = true;
    record.mediaType = "image";
    record.subtypes = {"hdr"};
    record.albums = {"Holidays", "Ünïcödé"};
    return record;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exiv2::XmpParser::initialize();
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const extensions[] = {"jpg", "png", "tif", "heic", "jpeg", "tiff"};
    static const lorekeep::MetadataWriter writer;
    static const lorekeep::AssetMeta record = meta();
    lorekeep::fuzz::InputReader input(data, size);
    const fs::path file = lorekeep::fuzz::scratch() / (std::string("image.") + extensions[input.byte() % 6]);
    const std::string before = input.rest();
    lorekeep::fuzz::writeFile(file, before);
    try {
        (void)writer.embed(record, file);
    } catch (const lorekeep::MetadataError&) {
        if (lorekeep::fuzz::readFile(file) != before)
            std::abort();
    }
    std::error_code error;
    if (fs::exists(fs::path(file.string() + ".meta"), error))
        std::abort();
    try {
        (void)writer.writeSidecar(record, file);
    } catch (const std::exception&) {
    }
    return 0;
}
