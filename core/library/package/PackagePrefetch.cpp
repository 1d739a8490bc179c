#include "library/package/PackagePrefetch.h"

#include "library/package/PackageResources.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace lorekeep {

PackagePrefetch::PackagePrefetch(const PackageResources& resources) : m_resources(resources) {
    m_thread = std::thread([this] { work(); });
}

PackagePrefetch::~PackagePrefetch() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void PackagePrefetch::add(const std::vector<std::string>& assetIdentifiers) {
    if (assetIdentifiers.empty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_queued.insert(m_queued.end(), assetIdentifiers.begin(), assetIdentifiers.end());
    }
    m_wake.notify_one();
}

std::optional<std::vector<AssetResource>> PackagePrefetch::take(const std::string& assetIdentifier) {
    const std::lock_guard lock(m_mutex);
    const auto ready = std::find_if(m_ready.begin(), m_ready.end(),
                                    [&](const auto& listing) { return listing.first == assetIdentifier; });
    if (ready != m_ready.end()) {
        std::vector<AssetResource> resources = std::move(ready->second);
        m_ready.erase(m_ready.begin(), ready + 1);
        return resources;
    }
    const auto queued = std::find(m_queued.begin(), m_queued.end(), assetIdentifier);
    if (queued != m_queued.end()) {
        // Not reached yet: everything listed so far came before it.
        m_queued.erase(m_queued.begin(), queued + 1);
        m_ready.clear();
    }
    return std::nullopt;
}

void PackagePrefetch::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || !m_queued.empty(); });
        if (m_stopping)
            return;
        const std::string identifier = std::move(m_queued.front());
        m_queued.pop_front();
        lock.unlock();
        std::optional<std::vector<AssetResource>> resources;
        try {
            resources = m_resources.resources(identifier);
            for (const AssetResource& resource : *resources) {
                if (const std::optional<std::filesystem::path> file = m_resources.fileOf(resource.locator))
                    readAhead(file->string());
            }
        } catch (const std::exception&) {
            // The run lists the asset itself, and hears of the problem then.
            resources.reset();
        }
        lock.lock();
        if (resources) {
            m_ready.emplace_back(identifier, std::move(*resources));
            if (m_ready.size() > readyLimit)
                m_ready.pop_front();
        }
    }
}

void PackagePrefetch::readAhead(const std::string& path) {
#if defined(POSIX_FADV_WILLNEED)
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return;
    (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_WILLNEED);
    ::close(fd);
#else
    (void)path;
#endif
}

} // namespace lorekeep
