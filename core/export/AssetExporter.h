#pragma once

#include "export/AssetMeta.h"
#include "export/ExportResult.h"
#include "export/MetadataWriter.h"
#include "library/FilePlan.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

class PhotoLibrary;

/// Writes planned files of library assets into a destination folder: the resource's bytes (from this machine,
/// else downloaded, else for an edit a fresh render), their hashes, the asset's metadata in the file or in a
/// sidecar. Only the library is ever asked for resource data.
class AssetExporter {
public:
    /// `root` is the destination folder that planned paths are relative to.
    AssetExporter(std::filesystem::path root, PhotoLibrary& library, MetadataWriter writer = {});

    const std::filesystem::path& root() const { return m_root; }

    /// What an export put on the destination where nothing was before, so that an attempt at an asset that fails
    /// can take it back. Paths are relative to the root, "/"-separated.
    struct Placed {
        /// Folders made for the file, outermost first.
        std::vector<std::string> folders;
        /// The file went to a free place.
        bool file = false;
        /// Its sidecar did.
        bool sidecar = false;
    };

    /// Exports one file to root/relativePath. Never throws: a failure is the result's error text, and no partly
    /// written file is ever left under the final name. Safe to run for several files at once. `placed`, when
    /// given, is told what the export added, whether it succeeded or not.
    [[nodiscard]] ExportResult exportFile(const PlannedFile& file, const AssetMeta& meta,
                                          Placed* placed = nullptr) const;

    /// The sidecar path of a planned path: its extension replaced by "xmp".
    static std::string sidecarRelativePath(const std::string& relativePath);

    /// Files up to this size that the library can read into memory are read once, given their metadata there,
    /// and hashed as they are written; larger ones are copied by the library, then hashed (and, for a photo,
    /// rewritten with metadata) from the copy.
    static constexpr std::size_t inMemoryLimit = 64 << 20;

private:
    /// How a file's metadata goes with it.
    enum class MetadataPlacement { none, embed, sidecar };

    void run(ExportDraft& draft, const AssetMeta& meta, Placed& placed) const;
    /// Makes the folders of a planned path that are missing. Throws on failure.
    void makeFolders(const std::string& relativePath, Placed& placed) const;
    /// Puts the resource's bytes into `bytes` or, when the library does not hand them out in memory, into
    /// `partial`; false (with the error set) when no way worked.
    bool fetch(ExportDraft& draft, const std::filesystem::path& partial, std::optional<std::vector<char>>& bytes) const;
    MetadataPlacement placement(const ExportDraft& draft) const;
    /// Writes bytes held in memory with their metadata to `partial`, hashing them on the way. Throws on failure.
    void completeInMemory(ExportDraft& draft, const AssetMeta& meta, const std::vector<char>& bytes,
                          const std::filesystem::path& partial, const std::filesystem::path& target,
                          Placed& placed) const;
    /// Hashes, writes metadata, moves into place and writes a sidecar when one is needed. Throws on failure.
    void complete(ExportDraft& draft, const AssetMeta& meta, const std::filesystem::path& partial,
                  const std::filesystem::path& target, Placed& placed) const;
    /// Moves the finished file into place.
    static void moveIntoPlace(const std::filesystem::path& partial, const std::filesystem::path& target,
                              Placed& placed);
    /// Writes the sidecar of a file just moved into place.
    void writeSidecar(ExportDraft& draft, const AssetMeta& meta, const std::filesystem::path& target,
                      const ImageProperties* properties, Placed& placed) const;

    std::filesystem::path m_root;
    PhotoLibrary* m_library;
    MetadataWriter m_writer;
};

} // namespace lorekeep
