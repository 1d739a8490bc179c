#pragma once

#include "index/BackupIndex.h"
#include "library/FilePlan.h"

#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep {

/// One attempt at exporting an asset's files. Notes beforehand which of the planned files, their sidecars and
/// their folders are not on the destination yet, so that an attempt that fails can take back what it wrote: files
/// under "By Date" that the index does not hold would otherwise stay there unaccounted for.
class AssetAttempt {
public:
    AssetAttempt(const std::filesystem::path& root, const std::vector<PlannedFile>& files);

    /// Removes the files noted as absent that are there now and that `kept` (the asset's entry in the index, or
    /// nullptr) does not hold, then the folders noted as absent that are empty now, deepest first. What was on the
    /// destination before the attempt is never touched.
    void undo(const IndexedAsset* kept) const;

private:
    std::filesystem::path m_root;
    /// Relative paths, "/"-separated.
    std::vector<std::string> m_newFiles;
    std::vector<std::filesystem::path> m_newFolders;
};

} // namespace lorekeep
