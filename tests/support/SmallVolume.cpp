#include "support/SmallVolume.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/mount.h>
#include <unistd.h>

namespace lorekeep::test {
namespace {

std::string sizeOption(std::uint64_t bytes) {
    return "size=" + std::to_string(bytes) + ",mode=0755";
}

} // namespace

std::unique_ptr<SmallVolume> SmallVolume::make(std::uint64_t bytes, std::string& whyNot) {
    if (::geteuid() != 0) {
        whyNot = "mounting a small file system needs root";
        return nullptr;
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "lorekeep-volume-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        whyNot = std::string("cannot make a mount point: ") + std::strerror(errno);
        return nullptr;
    }
    if (::mount("tmpfs", pattern.c_str(), "tmpfs", 0, sizeOption(bytes).c_str()) != 0) {
        whyNot = std::string("cannot mount a tmpfs: ") + std::strerror(errno);
        ::rmdir(pattern.c_str());
        return nullptr;
    }
    return std::unique_ptr<SmallVolume>(new SmallVolume(pattern));
}

SmallVolume::~SmallVolume() {
    if (m_mounted)
        ::umount2(m_path.c_str(), MNT_DETACH);
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

bool SmallVolume::resize(std::uint64_t bytes) {
    return ::mount("tmpfs", m_path.c_str(), "tmpfs", MS_REMOUNT, sizeOption(bytes).c_str()) == 0;
}

bool SmallVolume::makeReadOnly() {
    return ::mount("tmpfs", m_path.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

bool SmallVolume::detach() {
    if (::umount2(m_path.c_str(), MNT_DETACH) != 0)
        return false;
    m_mounted = false;
    return true;
}

} // namespace lorekeep::test
