#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"

#include "base/Json.h"
#include "base/JsonWriter.h"
#include "destination/Preflight.h"
#include "index/BackupIndex.h"
#include "run/BackupError.h"
#include "run/FailedAssets.h"

#include <cstdio>
#include <iostream>
#include <system_error>

namespace lorekeep::cli {
namespace {

std::string dateText(const std::optional<Date>& date) {
    return date ? date->iso8601() : "never";
}

} // namespace

int runStatus(const DestinationOptions& options) {
    std::error_code error;
    if (!std::filesystem::is_directory(options.destination, error)) {
        std::cerr << BackupError::destinationMissing(options.destination.string()).what() << "\n";
        return preconditionFailed;
    }
    BackupIndex index;
    try {
        index = BackupIndex::load(options.destination);
    } catch (const std::system_error&) {
        std::cerr << "no backup here yet: " << BackupIndex::location(options.destination).string() << " not found\n";
        return preconditionFailed;
    } catch (const std::exception& failure) {
        std::cerr << "the backup index cannot be read: " << failure.what() << "\n";
        return preconditionFailed;
    }

    // Assets the last runs could not back up; the next run tries them again.
    const auto failed = static_cast<std::int64_t>(FailedAssets::load(options.destination).identifiers().size());

    if (options.json) {
        JsonWriter writer({.pretty = true, .escapeSlashes = false});
        writer.startObject();
        writer.key("destination");
        writer.string(options.destination.string());
        writer.key("assets");
        writer.integer(static_cast<std::int64_t>(index.assets.size()));
        writer.key("files");
        writer.integer(static_cast<std::int64_t>(index.fileCount()));
        writer.key("bytes");
        writer.integer(index.byteTotal());
        if (index.lastSuccessfulRun) {
            writer.key("lastSuccessfulRun");
            writer.string(index.lastSuccessfulRun->iso8601());
        }
        if (index.lastVerified) {
            writer.key("lastVerified");
            writer.string(index.lastVerified->iso8601());
        }
        if (index.scopeKey) {
            writer.key("scopeKey");
            writer.string(*index.scopeKey);
        }
        if (failed > 0) {
            writer.key("failedAssets");
            writer.integer(failed);
        }
        writer.endObject();
        std::cout << writer.output() << "\n";
        return clean;
    }
    std::cout << options.destination.string() << "\n"
              << "  " << grouped(static_cast<std::int64_t>(index.assets.size())) << " assets, "
              << grouped(static_cast<std::int64_t>(index.fileCount())) << " files, " << byteText(index.byteTotal())
              << "\n"
              << "  last backup:   " << dateText(index.lastSuccessfulRun) << "\n"
              << "  last verified: " << dateText(index.lastVerified) << "\n";
    if (failed > 0)
        std::cout << "  failed:        " << grouped(failed) << " assets, tried again by the next backup\n";
    return clean;
}

} // namespace lorekeep::cli
