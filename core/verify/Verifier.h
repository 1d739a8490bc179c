#pragma once

#include "base/Date.h"
#include "base/JsonWriter.h"
#include "base/StopToken.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace lorekeep {

struct VerifyProgress {
    std::int64_t done = 0;
    /// Indexed files plus the sample size.
    std::int64_t total = 0;

    friend bool operator==(const VerifyProgress&, const VerifyProgress&) = default;
};

struct VerifyResult {
    /// Number of indexed files.
    std::int64_t checked = 0;
    /// One line per missing or damaged file, in the order found.
    std::vector<std::string> problems;
    bool cancelled = false;

    /// Keys named after the fields.
    void encode(JsonWriter& writer) const;

    friend bool operator==(const VerifyResult&, const VerifyResult&) = default;
};

/// Checks a destination against its index: every recorded file must be present, and a random sample must still
/// have its recorded SHA-256. Assets with a missing or damaged file leave the index, and the change token is
/// cleared, so that the next backup is a full rescan that exports them again.
class Verifier {
public:
    using ProgressCallback = std::function<void(const VerifyProgress&)>;
    using Clock = std::function<Date()>;

    explicit Verifier(Clock clock = &Date::now) : m_clock(std::move(clock)) {}

    /// Throws BackupError when the destination fails its preflight, and the index's load or save error: a
    /// destination without a readable index cannot be verified. Cancellation is checked before each file.
    VerifyResult verify(const std::filesystem::path& root, std::int64_t minimumSample, double sampleFraction,
                        const ProgressCallback& progress, StopToken stop = {}) const;

    /// How many files are hashed out of `files`: the larger of the minimum and the fraction, at most all of them.
    static std::int64_t sampleSize(std::int64_t files, std::int64_t minimumSample, double sampleFraction);

private:
    Clock m_clock;
};

} // namespace lorekeep
