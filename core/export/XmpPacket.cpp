#include "export/XmpPacket.h"

#include "base/Utf8.h"
#include "export/ImageIOMetadata.h"
#include "export/JpegExif.h"

#include <cmath>
#include <cstdio>
#include <string_view>
#include <vector>

namespace lorekeep::XmpPacket {
namespace {

constexpr std::string_view xmpNamespace = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view dcNamespace = "http://purl.org/dc/elements/1.1/";
constexpr std::string_view exifNamespace = "http://ns.adobe.com/exif/1.0/";

// Whether the text is well-formed UTF-8 without the control characters XML 1.0 does not allow.
bool carriable(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
                return false;
            ++i;
            continue;
        }
        const std::optional<Utf8Lead> form = utf8Lead(c);
        if (!form)
            return false;
        const auto length = static_cast<std::size_t>(form->continuations);
        if (i + length >= text.size())
            return false;
        for (std::size_t k = 1; k <= length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if (next < (k == 1 ? form->low : 0x80) || next > (k == 1 ? form->high : 0xBF))
                return false;
        }
        i += length + 1;
    }
    return true;
}

void appendEscaped(std::string& out, std::string_view text) {
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
        case '"':
            out += "&quot;";
            break;
        case '\t':
            out += "&#x9;";
            break;
        case '\n':
            out += "&#xA;";
            break;
        case '\r':
            out += "&#xD;";
            break;
        default:
            out += c;
        }
    }
}

} // namespace

std::string coordinate(double degrees, const std::string& ref) {
    constexpr long long perMinute = 100'000'000;
    const long long total = std::llround(degrees * 60 * perMinute);
    char text[64];
    std::snprintf(text, sizeof text, "%lld,%lld.%08lld%s", total / (60 * perMinute),
                  total % (60 * perMinute) / perMinute, total % perMinute, ref.c_str());
    return text;
}

std::optional<std::string> serialize(const XmpMetadata& metadata, bool wrapped) {
    // Simple properties become attributes of the description, bags elements inside it.
    std::vector<std::pair<std::string, std::string>> attributes{{"lorekeep:AssetID", metadata.assetID}};
    if (metadata.rating)
        attributes.emplace_back("xmp:Rating", std::to_string(*metadata.rating));
    if (metadata.date)
        attributes.emplace_back("exif:DateTimeOriginal", imageio::xmpDateTime(*metadata.date));
    if (const auto& gps = metadata.gps) {
        attributes.emplace_back("exif:GPSVersionID", "2.2.0.0");
        attributes.emplace_back("exif:GPSLatitude", coordinate(gps->latitude, gps->latitudeRef));
        attributes.emplace_back("exif:GPSLongitude", coordinate(gps->longitude, gps->longitudeRef));
        if (gps->altitude && gps->altitudeRef) {
            const auto [numerator, denominator] = JpegExif::altitude(*gps->altitude);
            attributes.emplace_back("exif:GPSAltitude", std::to_string(numerator) + "/" + std::to_string(denominator));
            attributes.emplace_back("exif:GPSAltitudeRef", std::to_string(*gps->altitudeRef));
        }
    }
    const std::pair<const char*, const std::vector<std::string>*> bags[] = {
        {"dc:subject", &metadata.subjects},
        {"lr:hierarchicalSubject", &metadata.hierarchicalSubjects},
    };
    for (const auto& [name, value] : attributes) {
        if (!carriable(value))
            return std::nullopt;
    }
    for (const auto& [name, items] : bags) {
        for (const std::string& item : *items) {
            if (!carriable(item))
                return std::nullopt;
        }
    }

    std::string out;
    out.reserve(1024);
    out += wrapped ? "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                   : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n <rdf:RDF "
           "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n";
    out += "  <rdf:Description rdf:about=\"\"\n";
    const auto declare = [&](std::string_view prefix, std::string_view uri) {
        out.append("    xmlns:").append(prefix).append("=\"").append(uri).append("\"\n");
    };
    declare(XMPNamespace::lorekeepPrefix, XMPNamespace::lorekeep);
    declare("xmp", xmpNamespace);
    declare("dc", dcNamespace);
    declare(XMPNamespace::lightroomPrefix, XMPNamespace::lightroom);
    declare("exif", exifNamespace);
    for (const auto& [name, value] : attributes) {
        out.append("   ").append(name).append("=\"");
        appendEscaped(out, value);
        out += "\"\n";
    }
    out.back() = '>';
    out += '\n';
    for (const auto& [name, items] : bags) {
        if (items->empty())
            continue;
        out.append("   <").append(name).append(">\n    <rdf:Bag>\n");
        for (const std::string& item : *items) {
            out += "     <rdf:li>";
            appendEscaped(out, item);
            out += "</rdf:li>\n";
        }
        out.append("    </rdf:Bag>\n   </").append(name).append(">\n");
    }
    out += "  </rdf:Description>\n </rdf:RDF>\n</x:xmpmeta>\n";
    if (wrapped)
        out += "<?xpacket end=\"w\"?>";
    return out;
}

} // namespace lorekeep::XmpPacket
