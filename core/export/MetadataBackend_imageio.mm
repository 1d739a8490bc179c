// Metadata file work with ImageIO: every format the system writes, HEIC included. The image data is copied as it
// is (CGImageDestinationCopyImageSource) and the metadata merged into what the file has. What is set comes from
// ImageIOMetadata; this file only carries it out. The Apple build takes this file in place of the Exiv2 one.
#include "export/ImageIOMetadata.h"
#include "export/MetadataBackend.h"

#import <Foundation/Foundation.h>
#import <ImageIO/ImageIO.h>

#include <stdexcept>

namespace lorekeep {
namespace {

NSString* ns(std::string_view text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
    return string ? string : @"";
}

std::string text(NSString* string) {
    const char* utf8 = string.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
}

NSURL* fileURL(const std::filesystem::path& path) {
    return [NSURL fileURLWithPath:ns(path.string()) isDirectory:NO];
}

CFStringRef imageKey(imageio::ImageKey key) {
    switch (key) {
    case imageio::ImageKey::exifDateTimeOriginal:
        return kCGImagePropertyExifDateTimeOriginal;
    case imageio::ImageKey::exifOffsetTimeOriginal:
        return kCGImagePropertyExifOffsetTimeOriginal;
    case imageio::ImageKey::gpsLatitude:
        return kCGImagePropertyGPSLatitude;
    case imageio::ImageKey::gpsLatitudeRef:
        return kCGImagePropertyGPSLatitudeRef;
    case imageio::ImageKey::gpsLongitude:
        return kCGImagePropertyGPSLongitude;
    case imageio::ImageKey::gpsLongitudeRef:
        return kCGImagePropertyGPSLongitudeRef;
    case imageio::ImageKey::gpsAltitude:
        return kCGImagePropertyGPSAltitude;
    case imageio::ImageKey::gpsAltitudeRef:
        return kCGImagePropertyGPSAltitudeRef;
    }
    return kCGImagePropertyExifDateTimeOriginal;
}

CFStringRef imageDictionary(imageio::ImageKey key) {
    return key == imageio::ImageKey::exifDateTimeOriginal || key == imageio::ImageKey::exifOffsetTimeOriginal
               ? kCGImagePropertyExifDictionary
               : kCGImagePropertyGPSDictionary;
}

id objectOf(const imageio::MetadataStep::Value& value) {
    if (const auto* string = std::get_if<std::string>(&value))
        return ns(*string);
    if (const auto* integer = std::get_if<long long>(&value))
        return @(*integer);
    if (const auto* number = std::get_if<double>(&value))
        return @(*number);
    NSMutableArray<NSString*>* items = [NSMutableArray array];
    for (const auto& item : std::get<imageio::Bag>(value).items)
        [items addObject:ns(item)];
    return items;
}

bool registerOurs(CGMutableImageMetadataRef metadata) {
    return CGImageMetadataRegisterNamespaceForPrefix(metadata, (__bridge CFStringRef)ns(XMPNamespace::lorekeep),
                                                     (__bridge CFStringRef)ns(XMPNamespace::lorekeepPrefix), nullptr) &&
           CGImageMetadataRegisterNamespaceForPrefix(metadata, (__bridge CFStringRef)ns(XMPNamespace::lightroom),
                                                     (__bridge CFStringRef)ns(XMPNamespace::lightroomPrefix), nullptr);
}

// The metadata object for the steps (owned by the caller), or throws with the step that could not be set.
CGMutableImageMetadataRef buildMetadata(const XmpMetadata& metadata) {
    CGMutableImageMetadataRef built = CGImageMetadataCreateMutable();
    if (!built || !registerOurs(built)) {
        if (built)
            CFRelease(built);
        throw std::runtime_error("namespace registration failed");
    }
    for (const auto& step : imageio::metadataSteps(metadata)) {
        id value = objectOf(step.value);
        bool set = false;
        if (step.isImageProperty()) {
            set = CGImageMetadataSetValueMatchingImageProperty(built, imageDictionary(step.key), imageKey(step.key),
                                                               (__bridge CFTypeRef)value);
        } else if (std::holds_alternative<imageio::Bag>(step.value)) {
            CGImageMetadataTagRef tag = CGImageMetadataTagCreate(
                (__bridge CFStringRef)ns(step.xmlns), (__bridge CFStringRef)ns(step.prefix),
                (__bridge CFStringRef)ns(step.name), kCGImageMetadataTypeArrayUnordered, (__bridge CFTypeRef)value);
            set = tag && CGImageMetadataSetTagWithPath(built, nullptr, (__bridge CFStringRef)ns(step.path()), tag);
            if (tag)
                CFRelease(tag);
        } else {
            set = CGImageMetadataSetValueWithPath(built, nullptr, (__bridge CFStringRef)ns(step.path()),
                                                  (__bridge CFTypeRef)value);
        }
        if (!set) {
            CFRelease(built);
            throw std::runtime_error("cannot set " +
                                     (step.isImageProperty() ? std::string("an image property") : step.path()));
        }
    }
    return built;
}

// Texts and numbers of one properties dictionary, by ImageIO's key names (which are the names ImageProperty uses).
PropertyDictionary propertiesIn(NSDictionary* dictionary) {
    PropertyDictionary properties;
    if (![dictionary isKindOfClass:[NSDictionary class]])
        return properties;
    for (id key in dictionary) {
        if (![key isKindOfClass:[NSString class]])
            continue;
        id value = dictionary[key];
        if ([value isKindOfClass:[NSString class]])
            properties.emplace(text(key), text(value));
        else if ([value isKindOfClass:[NSNumber class]])
            properties.emplace(text(key), [value doubleValue]);
    }
    return properties;
}

class ImageIOImageSource final : public MetadataBackend::ImageSource {
public:
    ImageIOImageSource(CGImageSourceRef source, std::string typeIdentifier, ImageProperties properties)
        : m_source(source), m_typeIdentifier(std::move(typeIdentifier)), m_properties(std::move(properties)) {}
    ~ImageIOImageSource() override { CFRelease(m_source); }
    ImageIOImageSource(const ImageIOImageSource&) = delete;
    ImageIOImageSource& operator=(const ImageIOImageSource&) = delete;

    const std::string& typeIdentifier() const override { return m_typeIdentifier; }
    const ImageProperties& properties() const override { return m_properties; }

    bool canWrite() const override {
        @autoreleasepool {
            NSArray* writable = CFBridgingRelease(CGImageDestinationCopyTypeIdentifiers());
            return [writable containsObject:ns(m_typeIdentifier)];
        }
    }

    std::span<const char> withMetadata(const XmpMetadata& metadata) const override {
        @autoreleasepool {
            CGMutableImageMetadataRef built = buildMetadata(metadata);
            NSMutableData* copy = [NSMutableData data];
            CGImageDestinationRef target = CGImageDestinationCreateWithData(
                (__bridge CFMutableDataRef)copy, (__bridge CFStringRef)ns(m_typeIdentifier), 1, nullptr);
            if (!target) {
                CFRelease(built);
                throw std::runtime_error("cannot create destination");
            }
            NSDictionary* options = @{
                (__bridge NSString*)kCGImageDestinationMetadata : (__bridge id)built,
                (__bridge NSString*)kCGImageDestinationMergeMetadata : @YES,
            };
            CFErrorRef error = nullptr;
            // A copy is complete when this returns true: no CGImageDestinationFinalize after it.
            const bool copied =
                CGImageDestinationCopyImageSource(target, m_source, (__bridge CFDictionaryRef)options, &error);
            CFRelease(target);
            CFRelease(built);
            if (!copied) {
                NSError* reason = CFBridgingRelease(error);
                throw std::runtime_error(reason ? text(reason.localizedDescription) : std::string());
            }
            m_copy = copy;
            return {static_cast<const char*>(m_copy.bytes), m_copy.length};
        }
    }

private:
    CGImageSourceRef m_source;
    std::string m_typeIdentifier;
    ImageProperties m_properties;
    // The copy made by withMetadata, kept for as long as the caller may read it.
    mutable NSData* m_copy = nil;
};

// The source as an image with its properties, or nullptr when it holds none; takes the source over.
std::unique_ptr<MetadataBackend::ImageSource> imageFrom(CGImageSourceRef source) {
    if (!source)
        return nullptr;
    CFStringRef type = CGImageSourceGetType(source);
    if (!type || CGImageSourceGetCount(source) == 0) {
        CFRelease(source);
        return nullptr;
    }
    NSDictionary* all = CFBridgingRelease(CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr));
    ImageProperties properties{propertiesIn(all[(__bridge NSString*)kCGImagePropertyExifDictionary]),
                               propertiesIn(all[(__bridge NSString*)kCGImagePropertyGPSDictionary])};
    return std::make_unique<ImageIOImageSource>(source, text((__bridge NSString*)type), std::move(properties));
}

class ImageIOBackend final : public MetadataBackend {
public:
    bool registerNamespaces() const override {
        CGMutableImageMetadataRef probe = CGImageMetadataCreateMutable();
        const bool registered = probe && registerOurs(probe);
        if (probe)
            CFRelease(probe);
        return registered;
    }

    std::unique_ptr<ImageSource> openImage(const std::filesystem::path& file) const override {
        @autoreleasepool {
            return imageFrom(CGImageSourceCreateWithURL((__bridge CFURLRef)fileURL(file), nullptr));
        }
    }

    std::unique_ptr<ImageSource> openImage(std::span<const char> bytes) const override {
        @autoreleasepool {
            // Read where they are: the caller keeps the bytes alive for as long as the source.
            NSData* data = [NSData dataWithBytesNoCopy:const_cast<char*>(bytes.data())
                                                length:bytes.size()
                                          freeWhenDone:NO];
            return imageFrom(CGImageSourceCreateWithData((__bridge CFDataRef)data, nullptr));
        }
    }

    std::optional<std::string> serialize(const XmpMetadata& metadata) const override {
        @autoreleasepool {
            CGMutableImageMetadataRef built = nullptr;
            try {
                built = buildMetadata(metadata);
            } catch (const std::runtime_error&) {
                return std::nullopt;
            }
            NSData* document = CFBridgingRelease(CGImageMetadataCreateXMPData(built, nullptr));
            CFRelease(built);
            if (!document)
                return std::nullopt;
            return std::string(static_cast<const char*>(document.bytes), document.length);
        }
    }
};

} // namespace

std::shared_ptr<const MetadataBackend> MetadataBackend::platform() {
    static const auto backend = std::make_shared<const ImageIOBackend>();
    return backend;
}

} // namespace lorekeep
