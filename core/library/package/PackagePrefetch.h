#pragma once

#include "library/Asset.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace lorekeep {

class PackageResources;

/// Gets the assets a backup is about to export ready on a thread of its own: lists their resources and asks the
/// system to read their files in, so that the backup finds the listing made and the bytes in memory instead of
/// waiting for the disk one file after the other. The listings are handed out in the order they were asked for.
class PackagePrefetch {
public:
    explicit PackagePrefetch(const PackageResources& resources);
    ~PackagePrefetch();
    PackagePrefetch(const PackagePrefetch&) = delete;
    PackagePrefetch& operator=(const PackagePrefetch&) = delete;

    /// Queues assets, in the order they will be asked for.
    void add(const std::vector<std::string>& assetIdentifiers);
    /// The listing made ahead for the asset, if there is one. Asking for an asset passes over every asset queued
    /// before it: those that are still queued are dropped, and their listings are forgotten.
    [[nodiscard]] std::optional<std::vector<AssetResource>> take(const std::string& assetIdentifier);

    /// Listings kept at most; the run asks for them far sooner.
    static constexpr std::size_t readyLimit = 256;

private:
    void work();
    /// Asks the system to read the file in; nothing where it cannot be asked.
    static void readAhead(const std::string& path);

    const PackageResources& m_resources;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::string> m_queued;
    std::deque<std::pair<std::string, std::vector<AssetResource>>> m_ready;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace lorekeep
