#include "destination/DestinationWatch.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace lorekeep {
namespace {

bool mentions(std::string_view text, int error) {
    return text.find(std::strerror(error)) != std::string_view::npos;
}

} // namespace

DestinationWatch::DestinationWatch(std::filesystem::path root) : m_root(std::move(root)) {
    struct stat status {};
    if (::stat(m_root.c_str(), &status) == 0) {
        m_device = status.st_dev;
        m_inode = status.st_ino;
        m_known = true;
    }
}

bool DestinationWatch::gone() const {
    struct stat status {};
    if (::stat(m_root.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return true;
    return m_known && (status.st_dev != m_device || status.st_ino != m_inode);
}

DestinationWatch::Fault DestinationWatch::check(std::string_view errorText) const {
    if (gone())
        return Fault::gone;
    if (mentions(errorText, ENOSPC) || mentions(errorText, EDQUOT))
        return Fault::full;
    struct statvfs space {};
    if (::statvfs(m_root.c_str(), &space) == 0 && space.f_blocks > 0 &&
        static_cast<unsigned long long>(space.f_bavail) * space.f_frsize < fullBelow)
        return Fault::full;
    return Fault::none;
}

} // namespace lorekeep
