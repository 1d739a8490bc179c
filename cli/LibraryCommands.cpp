#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"

#include "base/JsonWriter.h"
#include "library/AlbumCatalog.h"
#include "library/LibraryScanner.h"
#include "library/PhotosDatabase.h"
#include "library/SharedLibraryProbe.h"
#include "library/package/PhotosPackageLibrary.h"

#include <iostream>
#include <memory>

namespace lorekeep::cli {
namespace {

std::unique_ptr<PhotosPackageLibrary> openLibrary(const LibraryOptions& options) {
    try {
        return std::make_unique<PhotosPackageLibrary>(libraryPath(options));
    } catch (const std::exception& error) {
        std::cerr << "cannot read the Photos library " << libraryPath(options).string() << ": " << error.what() << "\n";
        return nullptr;
    }
}

void printJson(const auto& encode) {
    JsonWriter writer({.pretty = true, .escapeSlashes = false});
    encode(writer);
    std::cout << writer.output() << "\n";
}

} // namespace

std::filesystem::path libraryPath(const LibraryOptions& options) {
    return options.library.empty() ? PhotosDatabase::libraryLocation() : options.library;
}

int runAlbums(const LibraryOptions& options) {
    const auto library = openLibrary(options);
    if (!library)
        return preconditionFailed;
    const std::vector<AlbumInfo> albums = AlbumCatalog::albums(*library);
    if (options.json) {
        printJson([&](JsonWriter& writer) {
            writer.startArray();
            for (const AlbumInfo& album : albums) {
                writer.startObject();
                writer.key("id");
                writer.string(album.id);
                writer.key("title");
                writer.string(album.title);
                writer.key("path");
                writer.string(album.path);
                writer.key("count");
                writer.integer(album.count);
                writer.endObject();
            }
            writer.endArray();
        });
        return clean;
    }
    if (albums.empty())
        std::cout << "No albums.\n";
    for (const AlbumInfo& album : albums)
        std::cout << album.path << "  (" << grouped(album.count) << ")  " << album.id << "\n";
    return clean;
}

int runProbe(const LibraryOptions& options) {
    const ProbeResult result = SharedLibraryProbe{libraryPath(options)}.run();
    printJson([&](JsonWriter& writer) { result.encode(writer); });
    return result.error ? preconditionFailed : clean;
}

int runCounts(const LibraryOptions& options) {
    const auto library = openLibrary(options);
    if (!library)
        return preconditionFailed;
    const LibraryCounts counts = LibraryScanner(*library, 0).counts();
    if (options.json) {
        printJson([&](JsonWriter& writer) { counts.encode(writer); });
        return clean;
    }
    std::cout << grouped(counts.personalVisible) << " in the personal library, " << grouped(counts.hidden)
              << " hidden, " << grouped(counts.cloudSharedAlbums) << " in shared albums\n";
    return clean;
}

int runSample(const LibraryOptions& options, std::int64_t count) {
    const auto library = openLibrary(options);
    if (!library)
        return preconditionFailed;
    const std::vector<Candidate> sample = LibraryScanner(*library, sampleScanDepth).sample(count);
    if (options.json) {
        printJson([&](JsonWriter& writer) {
            writer.startArray();
            for (const Candidate& candidate : sample) {
                writer.startObject();
                writer.key("localIdentifier");
                writer.string(candidate.asset.localIdentifier);
                if (candidate.asset.creationDate) {
                    writer.key("creationDate");
                    writer.string(candidate.asset.creationDate->iso8601());
                }
                writer.key("traits");
                writer.startArray();
                for (const AssetTrait trait : candidate.traits)
                    writer.string(toString(trait));
                writer.endArray();
                writer.key("resources");
                writer.startArray();
                for (const AssetResource& resource : candidate.resources) {
                    writer.startObject();
                    writer.key("type");
                    writer.integer(static_cast<int>(resource.type));
                    writer.key("originalFilename");
                    writer.string(resource.originalFilename);
                    writer.key("uti");
                    writer.string(resource.uniformTypeIdentifier);
                    writer.endObject();
                }
                writer.endArray();
                writer.endObject();
            }
            writer.endArray();
        });
        return clean;
    }
    for (const Candidate& candidate : sample) {
        std::cout << candidate.asset.localIdentifier << "  "
                  << (candidate.asset.creationDate ? candidate.asset.creationDate->iso8601() : "no date") << " ";
        for (const AssetTrait trait : candidate.traits)
            std::cout << " " << toString(trait);
        std::cout << "\n";
        for (const AssetResource& resource : candidate.resources)
            std::cout << "    " << resource.originalFilename << "  " << resource.uniformTypeIdentifier << "\n";
    }
    return clean;
}

} // namespace lorekeep::cli
