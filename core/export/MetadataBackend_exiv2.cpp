// Metadata file work with Exiv2: JPEG, PNG, TIFF, WebP and the other formats Exiv2 can write. HEIC and HEIF are
// read (for their EXIF) but never written, since Exiv2 cannot write them; the writer then reports that no
// destination can be created for the type, and the exporter writes a sidecar instead.
#include "export/MetadataBackend.h"

#include "export/ImageIOMetadata.h"
#include "export/JpegExif.h"
#include "export/XmpPacket.h"

#include <exiv2/exiv2.hpp>

#include <fstream>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace lorekeep {
namespace {

// Exiv2's XMP toolkit is shared by every thread of the process; it calls this around each use.
void lockXmpToolkit(void* data, bool lock) {
    auto* mutex = static_cast<std::mutex*>(data);
    if (lock)
        mutex->lock();
    else
        mutex->unlock();
}

// Exiv2 reports oddities of the files it reads as log messages; they are not the user's business (real failures
// reach us as exceptions), and they must not end up on the terminal of the command-line tool.
void dropExiv2Message(int, const char*) {}

/// Process-wide Exiv2 set-up, made once on first use.
class Exiv2Setup {
public:
    static const Exiv2Setup& instance() {
        static const Exiv2Setup setup;
        return setup;
    }

    bool namespacesRegistered() const { return m_namespacesRegistered; }

private:
    Exiv2Setup() {
        Exiv2::LogMsg::setHandler(dropExiv2Message);
        Exiv2::XmpParser::initialize(lockXmpToolkit, &m_xmpMutex);
        Exiv2::enableBMFF(true);
        try {
            Exiv2::XmpProperties::registerNs(std::string(XMPNamespace::lorekeep),
                                             std::string(XMPNamespace::lorekeepPrefix));
            Exiv2::XmpProperties::registerNs(std::string(XMPNamespace::lightroom),
                                             std::string(XMPNamespace::lightroomPrefix));
            m_namespacesRegistered = true;
        } catch (const std::exception&) {
            m_namespacesRegistered = false;
        }
    }

    mutable std::mutex m_xmpMutex;
    bool m_namespacesRegistered = false;
};

std::string typeIdentifierFor(const std::string& mimeType) {
    static constexpr std::pair<std::string_view, std::string_view> known[] = {
        {"image/jpeg", "public.jpeg"},
        {"image/png", "public.png"},
        {"image/tiff", "public.tiff"},
        {"image/heic", "public.heic"},
        {"image/heif", "public.heif"},
        {"image/avif", "public.avif"},
        {"image/webp", "org.webmproject.webp"},
        {"image/gif", "com.compuserve.gif"},
        {"image/x-ms-bmp", "com.microsoft.bmp"},
        {"image/jp2", "public.jpeg-2000"},
        {"image/x-photoshop", "com.adobe.photoshop-image"},
        {"image/x-canon-cr2", "com.canon.cr2-raw-image"},
        {"image/x-canon-cr3", "com.canon.cr3-raw-image"},
    };
    for (const auto& [mime, identifier] : known) {
        if (mime == mimeType)
            return std::string(identifier);
    }
    return mimeType;
}

// ---- reading

void copyProperty(const Exiv2::ExifData& exif, const Exiv2::ExifKey& key, PropertyDictionary& into,
                  std::string_view name) {
    const auto datum = exif.findKey(key);
    if (datum == exif.end() || datum->count() == 0)
        return;
    if (datum->typeId() == Exiv2::asciiString)
        into.emplace(name, datum->toString());
    else
        into.emplace(name, static_cast<double>(datum->toFloat(0)));
}

// A GPS coordinate as degrees: three rationals (degrees, minutes, seconds), or one number. Anything else is kept as
// text, which the writer treats as no coordinate.
void copyCoordinate(const Exiv2::ExifData& exif, const Exiv2::ExifKey& key, PropertyDictionary& into,
                    std::string_view name) {
    const auto datum = exif.findKey(key);
    if (datum == exif.end() || datum->count() == 0)
        return;
    const bool rational = datum->typeId() == Exiv2::unsignedRational || datum->typeId() == Exiv2::signedRational;
    if (rational && datum->count() == 3) {
        double degrees = 0;
        double unit = 1;
        for (long i = 0; i < 3; ++i, unit *= 60) {
            const Exiv2::Rational part = datum->toRational(i);
            if (part.second == 0) {
                into.emplace(name, datum->toString());
                return;
            }
            degrees += static_cast<double>(part.first) / part.second / unit;
        }
        into.emplace(name, degrees);
    } else if (datum->count() == 1 && datum->typeId() != Exiv2::asciiString) {
        into.emplace(name, static_cast<double>(datum->toFloat(0)));
    } else {
        into.emplace(name, datum->toString());
    }
}

/// The EXIF keys read and written for every photo: made from their names once, which costs more than the lookups.
struct ExifKeys {
    Exiv2::ExifKey dateTimeOriginal{"Exif.Photo.DateTimeOriginal"};
    Exiv2::ExifKey offsetTimeOriginal{"Exif.Photo.OffsetTimeOriginal"};
    Exiv2::ExifKey exifVersion{"Exif.Photo.ExifVersion"};
    Exiv2::ExifKey gpsVersion{"Exif.GPSInfo.GPSVersionID"};
    Exiv2::ExifKey latitude{"Exif.GPSInfo.GPSLatitude"};
    Exiv2::ExifKey latitudeRef{"Exif.GPSInfo.GPSLatitudeRef"};
    Exiv2::ExifKey longitude{"Exif.GPSInfo.GPSLongitude"};
    Exiv2::ExifKey longitudeRef{"Exif.GPSInfo.GPSLongitudeRef"};
    Exiv2::ExifKey altitude{"Exif.GPSInfo.GPSAltitude"};
    Exiv2::ExifKey altitudeRef{"Exif.GPSInfo.GPSAltitudeRef"};

    static const ExifKeys& get() {
        static const ExifKeys keys;
        return keys;
    }
};

ImageProperties propertiesOf(const Exiv2::ExifData& exif) {
    const ExifKeys& key = ExifKeys::get();
    ImageProperties properties;
    copyProperty(exif, key.dateTimeOriginal, properties.exif, ImageProperty::dateTimeOriginal);
    copyProperty(exif, key.offsetTimeOriginal, properties.exif, ImageProperty::offsetTimeOriginal);
    copyCoordinate(exif, key.latitude, properties.gps, ImageProperty::latitude);
    copyProperty(exif, key.latitudeRef, properties.gps, ImageProperty::latitudeRef);
    copyCoordinate(exif, key.longitude, properties.gps, ImageProperty::longitude);
    copyProperty(exif, key.longitudeRef, properties.gps, ImageProperty::longitudeRef);
    return properties;
}

// ---- writing

Exiv2::URationalValue exifCoordinate(double degrees) {
    Exiv2::URationalValue value;
    for (const auto& [numerator, denominator] : JpegExif::coordinate(degrees))
        value.value_.emplace_back(numerator, denominator);
    return value;
}

Exiv2::URationalValue exifAltitude(double metres) {
    const auto [numerator, denominator] = JpegExif::altitude(metres);
    Exiv2::URationalValue value;
    value.value_.emplace_back(numerator, denominator);
    return value;
}

// Removes a property, including the element keys ("...[1]") that Exiv2 uses for arrays it cannot hold as one.
void eraseXmp(Exiv2::XmpData& xmp, const std::string& key) {
    for (auto it = xmp.begin(); it != xmp.end();) {
        const std::string& name = it->key();
        if (name == key ||
            (name.size() > key.size() && name.compare(0, key.size(), key) == 0 && name[key.size()] == '['))
            it = xmp.erase(it);
        else
            ++it;
    }
}

void setBag(Exiv2::XmpData& xmp, const std::string& key, const std::vector<std::string>& items) {
    eraseXmp(xmp, key);
    Exiv2::XmpArrayValue bag(Exiv2::xmpBag);
    for (const std::string& item : items)
        bag.read(item);
    xmp.add(Exiv2::XmpKey(key), &bag);
}

void setXmp(Exiv2::XmpData& xmp, const std::string& key, const std::string& value) {
    eraseXmp(xmp, key);
    xmp[key] = value;
}

void applyXmp(const XmpMetadata& metadata, Exiv2::XmpData& xmp) {
    const std::string ours = "Xmp." + std::string(XMPNamespace::lorekeepPrefix) + ".";
    const std::string lightroom = "Xmp." + std::string(XMPNamespace::lightroomPrefix) + ".";
    setXmp(xmp, ours + "AssetID", metadata.assetID);
    if (metadata.rating)
        setXmp(xmp, "Xmp.xmp.Rating", std::to_string(*metadata.rating));
    if (!metadata.subjects.empty())
        setBag(xmp, "Xmp.dc.subject", metadata.subjects);
    if (!metadata.hierarchicalSubjects.empty())
        setBag(xmp, lightroom + "hierarchicalSubject", metadata.hierarchicalSubjects);
    if (metadata.date)
        setXmp(xmp, "Xmp.exif.DateTimeOriginal", imageio::xmpDateTime(*metadata.date));
    if (const auto& gps = metadata.gps) {
        setXmp(xmp, "Xmp.exif.GPSVersionID", "2.2.0.0");
        setXmp(xmp, "Xmp.exif.GPSLatitude", XmpPacket::coordinate(gps->latitude, gps->latitudeRef));
        setXmp(xmp, "Xmp.exif.GPSLongitude", XmpPacket::coordinate(gps->longitude, gps->longitudeRef));
        if (gps->altitude && gps->altitudeRef) {
            setXmp(xmp, "Xmp.exif.GPSAltitude", exifAltitude(*gps->altitude).toString(0));
            setXmp(xmp, "Xmp.exif.GPSAltitudeRef", std::to_string(*gps->altitudeRef));
        }
    }
}

// ExifData::operator[] with a key made once.
Exiv2::Exifdatum& datum(Exiv2::ExifData& exif, const Exiv2::ExifKey& key) {
    auto position = exif.findKey(key);
    if (position == exif.end()) {
        exif.add(Exiv2::Exifdatum(key));
        position = exif.findKey(key);
    }
    return *position;
}

void applyExif(const XmpMetadata& metadata, Exiv2::ExifData& exif) {
    const ExifKeys& key = ExifKeys::get();
    if (metadata.date) {
        // OffsetTimeOriginal came with EXIF 2.31; readers look at the version of an EXIF block we start.
        if (exif.findKey(key.exifVersion) == exif.end())
            datum(exif, key.exifVersion) = std::string("48 50 51 50");
        datum(exif, key.dateTimeOriginal) = metadata.date->dateTimeOriginal;
        datum(exif, key.offsetTimeOriginal) = metadata.date->offsetTimeOriginal;
    }
    if (const auto& gps = metadata.gps) {
        if (exif.findKey(key.gpsVersion) == exif.end())
            datum(exif, key.gpsVersion) = std::string("2 2 0 0");
        const Exiv2::URationalValue latitude = exifCoordinate(gps->latitude);
        const Exiv2::URationalValue longitude = exifCoordinate(gps->longitude);
        datum(exif, key.latitudeRef) = gps->latitudeRef;
        datum(exif, key.latitude).setValue(&latitude);
        datum(exif, key.longitudeRef) = gps->longitudeRef;
        datum(exif, key.longitude).setValue(&longitude);
        if (gps->altitude && gps->altitudeRef) {
            const Exiv2::URationalValue altitude = exifAltitude(*gps->altitude);
            datum(exif, key.altitudeRef) = std::to_string(*gps->altitudeRef);
            datum(exif, key.altitude).setValue(&altitude);
        }
    }
}

// Files up to this size are read whole before their type is known.
constexpr std::uintmax_t wholeReadLimit = 32 << 20;

bool isImageType(const std::string& mime) {
    return !mime.starts_with("video/") && mime != "application/rdf+xml";
}

// A vector, whose buffer stays where it is when the vector is moved (Exiv2 reads from that buffer).
std::vector<char> readWhole(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary | std::ios::ate);
    const std::streamoff size = in ? static_cast<std::streamoff>(in.tellg()) : -1;
    std::vector<char> bytes(size > 0 ? static_cast<std::size_t>(size) : 0);
    if (size < 0 || !in.seekg(0) || !in.read(bytes.data(), size))
        throw std::runtime_error("cannot read " + file.string());
    return bytes;
}

bool writes(int imageType, Exiv2::MetadataId kind) {
    const Exiv2::AccessMode mode = Exiv2::ImageFactory::checkMode(imageType, kind);
    return mode == Exiv2::amWrite || mode == Exiv2::amReadWrite;
}

/// An image in memory, read once: its properties come from that reading, and a copy with metadata is made from
/// the same bytes, where Exiv2 changes only the metadata blocks and carries the image data over byte for byte.
class Exiv2ImageSource final : public MetadataBackend::ImageSource {
public:
    /// `bytes` are where Exiv2 reads from; `owned` holds them when the source is to keep them.
    Exiv2ImageSource(std::vector<char> owned, std::unique_ptr<Exiv2::Image> image, std::string typeIdentifier)
        : m_owned(std::move(owned)), m_image(std::move(image)), m_typeIdentifier(std::move(typeIdentifier)),
          m_properties(propertiesOf(m_image->exifData())) {}

    const std::string& typeIdentifier() const override { return m_typeIdentifier; }
    const ImageProperties& properties() const override { return m_properties; }
    bool canWrite() const override { return writes(m_image->imageType(), Exiv2::mdXmp); }

    std::span<const char> withMetadata(const XmpMetadata& metadata) const override {
        applyXmp(metadata, m_image->xmpData());
        if (writes(m_image->imageType(), Exiv2::mdExif))
            applyExif(metadata, m_image->exifData());
        // The new file is made in a memory buffer of Exiv2's own, which the image keeps; the bytes it was read
        // from are left as they were.
        m_image->writeMetadata();
        Exiv2::BasicIo& io = m_image->io();
        const Exiv2::byte* bytes = io.mmap();
        return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(io.size())};
    }

private:
    // The memory Exiv2 reads from when the source owns it: it must outlive the image.
    std::vector<char> m_owned;
    // Changed by the copy (the metadata merged in): a source makes one copy.
    mutable std::unique_ptr<Exiv2::Image> m_image;
    std::string m_typeIdentifier;
    ImageProperties m_properties;
};

/// An Exiv2 image of bytes in memory, read, or nullptr when they are no image.
std::unique_ptr<Exiv2ImageSource> imageOf(std::span<const char> bytes, std::vector<char> owned) {
    // Exiv2 0.27 hands out a std::auto_ptr, later versions a std::unique_ptr. A memory image reads the bytes where
    // they are until it writes.
    std::unique_ptr<Exiv2::Image> image(
        Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.data()), static_cast<long>(bytes.size()))
            .release());
    if (!isImageType(image->mimeType()))
        return nullptr;
    image->readMetadata();
    // Some formats (HEIF and its kin) know their exact type only once their metadata has been read.
    std::string identifier = typeIdentifierFor(image->mimeType());
    return std::make_unique<Exiv2ImageSource>(std::move(owned), std::move(image), std::move(identifier));
}

/// A plain JPEG, read and copied without Exiv2, whose parsing and encoding of the whole EXIF block cost more than
/// everything else done for a photo: the EXIF values are set in place and the XMP document goes into a segment of
/// its own. When that cannot be done, Exiv2 makes the copy after all.
class JpegImageSource final : public MetadataBackend::ImageSource {
public:
    JpegImageSource(std::vector<char> owned, std::span<const char> bytes, JpegExif jpeg)
        : m_owned(std::move(owned)), m_bytes(bytes), m_jpeg(std::move(jpeg)) {}

    const std::string& typeIdentifier() const override {
        static const std::string jpeg = "public.jpeg";
        return jpeg;
    }
    const ImageProperties& properties() const override { return m_jpeg.properties(); }
    bool canWrite() const override { return true; }

    std::span<const char> withMetadata(const XmpMetadata& metadata) const override {
        if (const auto packet = XmpPacket::serialize(metadata, true);
            packet && m_jpeg.withMetadata(metadata, *packet, m_copy))
            return m_copy;
        m_general = imageOf(m_bytes, {});
        if (!m_general)
            throw std::runtime_error("");
        return m_general->withMetadata(metadata);
    }

private:
    std::vector<char> m_owned;
    std::span<const char> m_bytes;
    JpegExif m_jpeg;
    mutable std::vector<char> m_copy;
    mutable std::unique_ptr<Exiv2ImageSource> m_general;
};

/// A file of TIFF directories (a RAW photo, mostly), whose properties are read without Exiv2: such files only get a
/// sidecar, which needs no more, and Exiv2's reading of every directory and maker note costs more than the rest
/// of the file's export. Exiv2 reads it when more is asked of it.
class TiffImageSource final : public MetadataBackend::ImageSource {
public:
    TiffImageSource(std::vector<char> owned, std::span<const char> bytes, ImageProperties properties)
        : m_owned(std::move(owned)), m_bytes(bytes), m_properties(std::move(properties)) {}

    const std::string& typeIdentifier() const override {
        static const std::string unknown;
        return general() ? general()->typeIdentifier() : unknown;
    }
    const ImageProperties& properties() const override { return m_properties; }
    bool canWrite() const override { return general() && general()->canWrite(); }

    std::span<const char> withMetadata(const XmpMetadata& metadata) const override {
        if (!general())
            throw std::runtime_error("");
        return general()->withMetadata(metadata);
    }

private:
    /// Exiv2's reading of the file, made when first asked for; nullptr when Exiv2 takes it for no image.
    Exiv2ImageSource* general() const {
        if (!m_general) {
            try {
                m_general = imageOf(m_bytes, {});
            } catch (const std::exception&) {
                m_general = nullptr;
            }
        }
        return m_general->get();
    }

    std::vector<char> m_owned;
    std::span<const char> m_bytes;
    ImageProperties m_properties;
    mutable std::optional<std::unique_ptr<Exiv2ImageSource>> m_general;
};

/// The image source for bytes in memory: a plain JPEG's own reader, the TIFF reader, or Exiv2's.
std::unique_ptr<MetadataBackend::ImageSource> sourceOf(std::span<const char> bytes, std::vector<char> owned) {
    if (auto jpeg = JpegExif::parse(bytes))
        return std::make_unique<JpegImageSource>(std::move(owned), bytes, std::move(*jpeg));
    if (auto properties = JpegExif::tiffProperties(bytes))
        return std::make_unique<TiffImageSource>(std::move(owned), bytes, std::move(*properties));
    return imageOf(bytes, std::move(owned));
}

class Exiv2Backend final : public MetadataBackend {
public:
    // Sets Exiv2 up when the backend is made (normally on the main thread, with the first MetadataWriter), not in
    // the middle of a worker's export.
    Exiv2Backend() { Exiv2Setup::instance(); }

    bool registerNamespaces() const override { return Exiv2Setup::instance().namespacesRegistered(); }

    std::unique_ptr<ImageSource> openImage(const std::filesystem::path& file) const override {
        try {
            // Movies and XMP documents are not images. A file of a photo's size is read once and told apart in
            // memory; a larger one by its first bytes first, so that a long movie is never read.
            std::error_code error;
            const std::uintmax_t size = std::filesystem::file_size(file, error);
            if (error)
                return nullptr;
            if (size > wholeReadLimit && !isImageType(Exiv2::ImageFactory::open(file.string())->mimeType()))
                return nullptr;
            std::vector<char> bytes = readWhole(file);
            const std::span<const char> view(bytes);
            return sourceOf(view, std::move(bytes));
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    std::unique_ptr<ImageSource> openImage(std::span<const char> bytes) const override {
        try {
            return sourceOf(bytes, {});
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    std::optional<std::string> serialize(const XmpMetadata& metadata) const override {
        if (auto packet = XmpPacket::serialize(metadata, false))
            return packet;
        try {
            Exiv2::XmpData xmp;
            applyXmp(metadata, xmp);
            std::string packet;
            if (Exiv2::XmpParser::encode(packet, xmp, Exiv2::XmpParser::omitPacketWrapper) != 0 || packet.empty())
                return std::nullopt;
            return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + packet;
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }
};

} // namespace

std::shared_ptr<const MetadataBackend> MetadataBackend::platform() {
    static const auto backend = std::make_shared<const Exiv2Backend>();
    return backend;
}

} // namespace lorekeep
