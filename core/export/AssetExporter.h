#pragma once

#include "export/AssetMeta.h"
#include "export/ExportResult.h"
#include "export/MetadataWriter.h"
#include "library/FilePlan.h"

#include <filesystem>

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

    /// Exports one file to root/relativePath. Never throws: a failure is the result's error text, and no partly
    /// written file is ever left under the final name. Safe to run for several files at once.
    [[nodiscard]] ExportResult exportFile(const PlannedFile& file, const AssetMeta& meta) const;

    /// The sidecar path of a planned path: its extension replaced by "xmp".
    static std::string sidecarRelativePath(const std::string& relativePath);

private:
    void run(ExportDraft& draft, const AssetMeta& meta) const;
    /// Puts the resource's bytes into `partial`; false (with the error set) when no way worked.
    bool fetch(ExportDraft& draft, const std::filesystem::path& partial) const;
    /// Hashes, writes metadata, moves into place and writes a sidecar when one is needed. Throws on failure.
    void complete(ExportDraft& draft, const AssetMeta& meta, const std::filesystem::path& partial,
                  const std::filesystem::path& target) const;

    std::filesystem::path m_root;
    PhotoLibrary* m_library;
    MetadataWriter m_writer;
};

} // namespace lorekeep
