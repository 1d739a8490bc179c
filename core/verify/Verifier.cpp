#include "verify/Verifier.h"

#include "base/FileHash.h"
#include "base/SafeFolders.h"
#include "destination/Preflight.h"
#include "index/BackupIndex.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

namespace lorekeep {
namespace {

struct Entry {
    const std::string* assetId;
    const IndexedFile* file;
};

constexpr std::int64_t presenceReportEvery = 500;

} // namespace

void VerifyResult::encode(JsonWriter& writer) const {
    writer.startObject();
    writer.key("checked");
    writer.integer(checked);
    writer.key("problems");
    writer.startArray();
    for (const std::string& problem : problems)
        writer.string(problem);
    writer.endArray();
    writer.key("cancelled");
    writer.boolean(cancelled);
    writer.endObject();
}

std::int64_t Verifier::sampleSize(std::int64_t files, std::int64_t minimumSample, double sampleFraction) {
    // Compared as doubles first: a fraction that is negative, too large or not a number must not reach the
    // conversion to an integer.
    const double wanted = std::floor(sampleFraction * static_cast<double>(files));
    const std::int64_t fraction =
        wanted > 0 ? static_cast<std::int64_t>(std::min(wanted, static_cast<double>(files))) : 0;
    return std::clamp(std::max(minimumSample, fraction), std::int64_t{0}, std::max(files, std::int64_t{0}));
}

VerifyResult Verifier::verify(const std::filesystem::path& root, std::int64_t minimumSample, double sampleFraction,
                              const ProgressCallback& progress, StopToken stop) const {
    Preflight::check(root);
    BackupIndex index = BackupIndex::load(root);

    std::vector<Entry> entries;
    entries.reserve(index.fileCount());
    for (const auto& [id, asset] : index.assets) {
        for (const IndexedFile& file : asset.files)
            entries.push_back({&id, &file});
    }
    const auto n = static_cast<std::int64_t>(entries.size());

    std::vector<Entry> sample = entries;
    std::shuffle(sample.begin(), sample.end(), std::mt19937_64(std::random_device{}()));
    sample.resize(static_cast<std::size_t>(sampleSize(n, minimumSample, sampleFraction)));
    const std::int64_t total = n + static_cast<std::int64_t>(sample.size());

    VerifyResult result{.checked = n};
    std::set<std::string, std::less<>> bad;
    const auto report = [&](std::int64_t done) {
        if (progress)
            progress({done, total});
    };
    // A path that would lead outside the destination is never followed; it counts as a missing file, so the
    // next backup writes the asset again under a proper name.
    // The passes only read; every folder of the destination is resolved once.
    SafeFolders folders(root);
    const auto resolve = [&](const IndexedFile& file) { return folders.resolve(file.relativePath); };

    report(0);
    std::int64_t handled = 0;
    for (const Entry& entry : entries) {
        if (stop.stopRequested()) {
            result.cancelled = true;
            break;
        }
        if (!folders.exists(entry.file->relativePath)) {
            result.problems.push_back(entry.file->relativePath + ": missing");
            bad.insert(*entry.assetId);
        }
        if (++handled % presenceReportEvery == 0)
            report(handled);
    }
    if (!result.cancelled)
        report(n);

    std::int64_t hashed = 0;
    for (const Entry& entry : sample) {
        if (result.cancelled)
            break;
        if (stop.stopRequested()) {
            result.cancelled = true;
            break;
        }
        if (bad.contains(*entry.assetId))
            continue;
        std::string digest;
        try {
            if (const auto path = resolve(*entry.file))
                digest = FileHash::sha256(*path).sha256;
        } catch (const std::exception&) {
            // An unreadable file is as bad as a damaged one.
        }
        if (digest != entry.file->sha256) {
            result.problems.push_back(entry.file->relativePath + ": checksum mismatch");
            bad.insert(*entry.assetId);
        }
        report(n + ++hashed);
    }

    if (!bad.empty()) {
        entries.clear();
        sample.clear();
        for (const std::string& id : bad)
            index.remove(id);
        index.changeToken.reset();
    }
    if (!result.cancelled)
        index.lastVerified = m_clock();
    index.save(root);
    return result;
}

} // namespace lorekeep
