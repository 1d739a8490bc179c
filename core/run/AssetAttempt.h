#pragma once

#include "export/AssetExporter.h"
#include "index/BackupIndex.h"
#include "library/FilePlan.h"

#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep {

/// One attempt at exporting an asset's files. Notes which files, sidecars and folders its exports put where
/// nothing was, so that an attempt that fails can take back what it wrote: files under "By Date" that the index
/// does not hold would otherwise stay there unaccounted for.
class AssetAttempt {
public:
    explicit AssetAttempt(std::filesystem::path root);

    /// Notes what the export of `file` added.
    void note(const PlannedFile& file, const AssetExporter::Placed& placed);

    /// Removes the files noted that are there now and that `kept` (the asset's entry in the index, or nullptr)
    /// does not hold, then the folders noted that are empty now, deepest first. What was on the destination
    /// before the attempt is never touched.
    void undo(const IndexedAsset* kept) const;

private:
    std::filesystem::path m_root;
    /// Relative paths, "/"-separated.
    std::vector<std::string> m_newFiles;
    std::vector<std::string> m_newFolders;
};

} // namespace lorekeep
