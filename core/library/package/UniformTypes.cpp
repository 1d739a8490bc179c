#include "library/package/UniformTypes.h"

#include <array>
#include <utility>

namespace lorekeep::UniformTypes {
namespace {

struct Type {
    std::string_view identifier;
    std::string_view extension;
};

// The first row of an identifier gives the extension Photos writes for it.
constexpr std::array types{
    Type{"public.jpeg", "jpeg"},
    Type{"public.jpeg", "jpg"},
    Type{"public.heic", "heic"},
    Type{"public.heif", "heif"},
    Type{"public.png", "png"},
    Type{"public.tiff", "tiff"},
    Type{"public.tiff", "tif"},
    Type{"com.compuserve.gif", "gif"},
    Type{"com.adobe.raw-image", "dng"},
    Type{"com.canon.cr2-raw-image", "cr2"},
    Type{"com.canon.cr3-raw-image", "cr3"},
    Type{"com.nikon.raw-image", "nef"},
    Type{"com.sony.arw-raw-image", "arw"},
    Type{"com.fuji.raw-image", "raf"},
    Type{"com.olympus.raw-image", "orf"},
    Type{"com.panasonic.rw2-raw-image", "rw2"},
    Type{"com.pentax.raw-image", "pef"},
    Type{"com.apple.quicktime-movie", "mov"},
    Type{"public.mpeg-4", "mp4"},
    Type{"public.avi", "avi"},
    Type{"com.apple.m4v-video", "m4v"},
    Type{"com.apple.photos.apple-adjustment-envelope", "plist"},
};

// ZCOMPACTUTI codes, each checked against a library whose files have that type.
constexpr std::array<std::pair<std::int64_t, std::string_view>, 7> compactCodes{{
    {1, "public.jpeg"},
    {3, "public.heic"},
    {6, "public.png"},
    {8, "public.tiff"},
    {9, "com.adobe.raw-image"},
    {11, "com.canon.cr2-raw-image"},
    {23, "com.apple.quicktime-movie"},
}};

} // namespace

std::string fromCompactCode(std::int64_t code) {
    for (const auto& [known, identifier] : compactCodes) {
        if (known == code)
            return std::string(identifier);
    }
    return {};
}

std::string fromExtension(std::string_view extension) {
    for (const Type& type : types) {
        if (type.extension == extension)
            return std::string(type.identifier);
    }
    return {};
}

std::string extensionOf(std::string_view identifier) {
    for (const Type& type : types) {
        if (type.identifier == identifier)
            return std::string(type.extension);
    }
    return {};
}

const std::vector<std::string>& rawExtensions() {
    static const std::vector<std::string> extensions{"dng", "cr2", "cr3", "crw", "nef", "nrw", "arw", "sr2",
                                                     "raf", "orf", "ori", "rw2", "pef", "srw", "rwl", "3fr",
                                                     "erf", "kdc", "mos", "mrw", "raw", "iiq", "x3f"};
    return extensions;
}

} // namespace lorekeep::UniformTypes
