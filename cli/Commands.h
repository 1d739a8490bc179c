#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace lorekeep::cli {

class Console;
class Interrupt;

struct DestinationOptions {
    std::filesystem::path destination;
    bool json = false;
};

struct VerifyOptions {
    std::filesystem::path destination;
    std::int64_t minimumSample = 50;
    double sampleFraction = 0.02;
    bool json = false;
};

/// Each command returns its ExitCode.
int runStatus(const DestinationOptions& options);
int runVerify(const VerifyOptions& options, Console& console, const Interrupt& interrupt);

} // namespace lorekeep::cli
