#include "base/AtomicFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace lorekeep {
namespace {

constexpr std::size_t bufferSize = 1 << 20;

[[noreturn]] void throwErrno(const std::string& what, const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), what + " " + path.string());
}

} // namespace

AtomicFile::AtomicFile(std::filesystem::path target, Durability durability)
    : m_target(std::move(target)), m_durability(durability) {
    std::string name = ".";
    name += m_target.filename().string();
    name += ".tmp-XXXXXX";
    std::string pattern = (m_target.parent_path() / name).string();
    m_fd = ::mkstemp(pattern.data());
    if (m_fd < 0)
        throwErrno("cannot create a temporary file for", m_target);
    m_temporary = pattern;
    ::fchmod(m_fd, 0644);
}

AtomicFile::~AtomicFile() {
    if (m_fd >= 0) {
        ::close(m_fd);
        std::error_code ignored;
        std::filesystem::remove(m_temporary, ignored);
    }
}

void AtomicFile::write(std::string_view bytes) {
    if (m_buffer.size() + bytes.size() > bufferSize)
        flushBuffer();
    if (bytes.size() > bufferSize) {
        m_buffer.assign(bytes);
        flushBuffer();
        return;
    }
    m_buffer.append(bytes);
}

void AtomicFile::flushBuffer() {
    const char* data = m_buffer.data();
    std::size_t left = m_buffer.size();
    while (left > 0) {
        const ssize_t written = ::write(m_fd, data, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throwErrno("cannot write", m_temporary);
        }
        data += written;
        left -= static_cast<std::size_t>(written);
    }
    m_buffer.clear();
}

void AtomicFile::commit() {
    flushBuffer();
    if (m_durability == Durability::synced && ::fsync(m_fd) != 0)
        throwErrno("cannot flush", m_temporary);
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0) {
        std::error_code ignored;
        std::filesystem::remove(m_temporary, ignored);
        throwErrno("cannot close", m_temporary);
    }
    if (::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        const int error = errno;
        std::error_code ignored;
        std::filesystem::remove(m_temporary, ignored);
        throw std::system_error(error, std::generic_category(), "cannot move into place " + m_target.string());
    }
}

void AtomicFile::write(const std::filesystem::path& target, std::string_view contents, Durability durability) {
    AtomicFile file(target, durability);
    file.write(contents);
    file.commit();
}

} // namespace lorekeep
