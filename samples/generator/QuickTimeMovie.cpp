#include "QuickTimeMovie.h"

#include <cstdio>
#include <utility>

namespace lorekeep::sample {
namespace {

// Movie and media time are counted in 1/600 s, which divides evenly into the usual frame rates.
constexpr std::uint32_t timeScale = 600;

void put16(std::string& out, std::uint32_t value) {
    out.push_back(static_cast<char>((value >> 8) & 0xff));
    out.push_back(static_cast<char>(value & 0xff));
}

void put32(std::string& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<char>((value >> shift) & 0xff));
}

std::string atom(std::string_view type, std::string_view payload) {
    std::string out;
    put32(out, static_cast<std::uint32_t>(payload.size() + 8));
    out += type;
    out += payload;
    return out;
}

/// Version 0 and flags of a "full" atom.
std::string versionAndFlags(std::uint32_t flags = 0) {
    std::string out;
    put32(out, flags);
    return out;
}

/// The identity transformation matrix of movie and track headers.
std::string identityMatrix() {
    std::string out;
    for (const std::uint32_t value : {0x00010000u, 0u, 0u, 0u, 0x00010000u, 0u, 0u, 0u, 0x40000000u})
        put32(out, value);
    return out;
}

std::string countedString(std::string_view text) {
    std::string out(1, static_cast<char>(text.size()));
    out += text;
    return out;
}

std::string handlerAtom(std::string_view componentType, std::string_view subtype, std::string_view name) {
    std::string payload = versionAndFlags();
    payload += componentType;
    payload += subtype;
    put32(payload, 0); // manufacturer
    put32(payload, 0); // flags
    put32(payload, 0); // flags mask
    payload += countedString(name);
    return atom("hdlr", payload);
}

} // namespace

QuickTimeMovie::QuickTimeMovie(int width, int height, int framesPerSecond)
    : m_width(width), m_height(height), m_framesPerSecond(framesPerSecond) {}

void QuickTimeMovie::addFrame(std::string jpeg) {
    m_frames.push_back(std::move(jpeg));
}

std::string QuickTimeMovie::build() const {
    std::string fileType;
    fileType += "qt  ";
    put32(fileType, 0);
    fileType += "qt  ";
    const std::string ftyp = atom("ftyp", fileType);
    // The movie atom's size does not depend on the offset it records, so it is measured first.
    const std::size_t movieSize = movieAtom(0).size();
    const auto mediaOffset = static_cast<std::uint32_t>(ftyp.size() + movieSize + 8);

    std::string media;
    for (const std::string& frame : m_frames)
        media += frame;
    return ftyp + movieAtom(mediaOffset) + atom("mdat", media);
}

std::string QuickTimeMovie::movieAtom(std::uint32_t mediaOffset) const {
    const std::uint32_t created = m_created.quickTimeSeconds();
    const std::uint32_t frameDuration = timeScale / static_cast<std::uint32_t>(m_framesPerSecond);
    const auto frames = static_cast<std::uint32_t>(m_frames.size());
    const std::uint32_t duration = frameDuration * frames;

    std::string header = versionAndFlags();
    put32(header, created);
    put32(header, created);
    put32(header, timeScale);
    put32(header, duration);
    put32(header, 0x00010000); // preferred rate 1.0
    put16(header, 0x0100);     // preferred volume 1.0
    header += std::string(10, '\0');
    header += identityMatrix();
    header += std::string(24, '\0'); // preview, poster, selection and current times
    put32(header, 2);                // next track ID

    std::string track = trackAtom();
    // The chunk offset is the last field of the track: patched here, where the file's layout is known.
    for (int index = 0; index < 4; ++index)
        track[track.size() - 4 + index] = static_cast<char>((mediaOffset >> (24 - 8 * index)) & 0xff);
    return atom("moov", atom("mvhd", header) + track + metadataAtom());
}

std::string QuickTimeMovie::trackAtom() const {
    const std::uint32_t created = m_created.quickTimeSeconds();
    const std::uint32_t frameDuration = timeScale / static_cast<std::uint32_t>(m_framesPerSecond);
    const auto frames = static_cast<std::uint32_t>(m_frames.size());
    const std::uint32_t duration = frameDuration * frames;

    std::string trackHeader = versionAndFlags(0x3); // enabled, in the movie
    put32(trackHeader, created);
    put32(trackHeader, created);
    put32(trackHeader, 1); // track ID
    put32(trackHeader, 0);
    put32(trackHeader, duration);
    trackHeader += std::string(8, '\0');
    put16(trackHeader, 0); // layer
    put16(trackHeader, 0); // alternate group
    put16(trackHeader, 0); // volume: none for video
    put16(trackHeader, 0);
    trackHeader += identityMatrix();
    put32(trackHeader, static_cast<std::uint32_t>(m_width) << 16);
    put32(trackHeader, static_cast<std::uint32_t>(m_height) << 16);

    std::string editList = versionAndFlags();
    put32(editList, 1);
    put32(editList, duration);
    put32(editList, 0);          // media time
    put32(editList, 0x00010000); // rate 1.0

    std::string mediaHeader = versionAndFlags();
    put32(mediaHeader, created);
    put32(mediaHeader, created);
    put32(mediaHeader, timeScale);
    put32(mediaHeader, duration);
    put16(mediaHeader, 0); // language
    put16(mediaHeader, 0); // quality

    std::string videoHeader = versionAndFlags(0x1);
    put16(videoHeader, 0x0040); // graphics mode: dither copy
    put16(videoHeader, 0x8000);
    put16(videoHeader, 0x8000);
    put16(videoHeader, 0x8000);

    std::string references = versionAndFlags();
    put32(references, 1);
    references += atom("alis", versionAndFlags(0x1)); // the media is in this file

    std::string description;
    description += std::string(6, '\0');
    put16(description, 1);     // data reference index
    put16(description, 0);     // version
    put16(description, 0);     // revision level
    put32(description, 0);     // vendor
    put32(description, 0);     // temporal quality
    put32(description, 0x200); // spatial quality: normal
    put16(description, static_cast<std::uint32_t>(m_width));
    put16(description, static_cast<std::uint32_t>(m_height));
    put32(description, 0x00480000); // 72 dpi
    put32(description, 0x00480000);
    put32(description, 0); // data size
    put16(description, 1); // frames per sample
    std::string compressor = countedString("Photo - JPEG");
    compressor.resize(32, '\0');
    description += compressor;
    put16(description, 24);     // depth
    put16(description, 0xffff); // no colour table
    std::string sampleDescriptions = versionAndFlags();
    put32(sampleDescriptions, 1);
    sampleDescriptions += atom("jpeg", description);

    std::string timeToSample = versionAndFlags();
    put32(timeToSample, 1);
    put32(timeToSample, frames);
    put32(timeToSample, frameDuration);

    std::string sampleToChunk = versionAndFlags();
    put32(sampleToChunk, 1);
    put32(sampleToChunk, 1);      // first chunk
    put32(sampleToChunk, frames); // samples per chunk
    put32(sampleToChunk, 1);      // sample description

    std::string sampleSizes = versionAndFlags();
    put32(sampleSizes, 0);
    put32(sampleSizes, frames);
    for (const std::string& frame : m_frames)
        put32(sampleSizes, static_cast<std::uint32_t>(frame.size()));

    std::string chunkOffsets = versionAndFlags();
    put32(chunkOffsets, 1);
    put32(chunkOffsets, 0); // patched by movieAtom()

    const std::string sampleTable =
        atom("stbl", atom("stsd", sampleDescriptions) + atom("stts", timeToSample) + atom("stsc", sampleToChunk) +
                         atom("stsz", sampleSizes) + atom("stco", chunkOffsets));
    const std::string mediaInformation =
        atom("minf", atom("vmhd", videoHeader) + handlerAtom("dhlr", "alis", "Alias Data Handler") +
                         atom("dinf", atom("dref", references)) + sampleTable);
    const std::string media =
        atom("mdia", atom("mdhd", mediaHeader) + handlerAtom("mhlr", "vide", "Video Media Handler") + mediaInformation);
    return atom("trak", atom("tkhd", trackHeader) + atom("edts", atom("elst", editList)) + media);
}

std::string QuickTimeMovie::metadataAtom() const {
    std::vector<std::pair<std::string, std::string>> items{
        {"com.apple.quicktime.creationdate", m_created.quickTimeText()}};
    if (m_place) {
        char text[64];
        std::snprintf(text, sizeof text, "%+08.4f%+09.4f%+08.3f/", m_place->latitude, m_place->longitude,
                      m_place->altitude);
        items.emplace_back("com.apple.quicktime.location.ISO6709", text);
    }
    if (!m_contentIdentifier.empty())
        items.emplace_back("com.apple.quicktime.content.identifier", m_contentIdentifier);

    std::string keys = versionAndFlags();
    put32(keys, static_cast<std::uint32_t>(items.size()));
    std::string list;
    for (std::size_t index = 0; index < items.size(); ++index) {
        keys += atom("mdta", items[index].first);
        std::string value;
        put32(value, 1); // UTF-8 text
        put32(value, 0); // any locale
        value += items[index].second;
        std::string itemType;
        put32(itemType, static_cast<std::uint32_t>(index + 1)); // items are named by their key's 1-based index
        list += atom(itemType, atom("data", value));
    }

    std::string handler = versionAndFlags();
    put32(handler, 0);
    handler += "mdta";
    handler += std::string(12, '\0');
    handler.push_back('\0'); // empty name
    return atom("meta", atom("hdlr", handler) + atom("keys", keys) + atom("ilst", list));
}

} // namespace lorekeep::sample
