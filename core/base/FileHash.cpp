#include "base/FileHash.h"

#include "base/Sha256.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace lorekeep::FileHash {
namespace {

constexpr std::size_t chunkSize = 1'048'576;
// Small enough that a chunk just hashed is still in the processor's cache when it is written.
constexpr std::size_t writeChunkSize = 256 * 1024;

struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

FileDigest sha256(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), "cannot open " + path.string());
    const Descriptor closer{fd};
#ifdef POSIX_FADV_SEQUENTIAL
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif

    // One buffer per thread, kept: most files backed up are far smaller than a chunk, and allocating a
    // megabyte for each of them costs more than reading them.
    thread_local const auto chunk = std::make_unique_for_overwrite<char[]>(chunkSize);
    Sha256 state;
    FileDigest result;
    for (;;) {
        const ssize_t count = ::read(fd, chunk.get(), chunkSize);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            throw std::system_error(errno, std::generic_category(), "cannot read " + path.string());
        }
        if (count == 0)
            break;
        state.update(chunk.get(), static_cast<std::size_t>(count));
        result.bytes += count;
    }
    const Sha256::Digest digest = state.finish();
    result.sha256 = Sha256::hex(digest.data(), digest.size());
    return result;
}

FileDigest sha256(std::span<const char> bytes) {
    Sha256 state;
    state.update(bytes.data(), bytes.size());
    const Sha256::Digest digest = state.finish();
    return {Sha256::hex(digest.data(), digest.size()), static_cast<std::int64_t>(bytes.size())};
}

FileDigest writeHashed(const std::filesystem::path& path, std::span<const char> bytes) {
    // Made anew: whatever is left under the name (a file of an export that died, or a link someone put there)
    // is removed rather than written through.
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    int fd = ::open(path.c_str(), flags, 0666);
    if (fd < 0 && errno == EEXIST && ::unlink(path.c_str()) == 0)
        fd = ::open(path.c_str(), flags, 0666);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), "cannot create " + path.string());
    Descriptor closer{fd};
    Sha256 state;
    for (std::size_t offset = 0; offset < bytes.size();) {
        const std::size_t size = std::min(writeChunkSize, bytes.size() - offset);
        state.update(bytes.data() + offset, size);
        for (std::size_t written = 0; written < size;) {
            const ssize_t count = ::write(fd, bytes.data() + offset + written, size - written);
            if (count < 0) {
                if (errno == EINTR)
                    continue;
                throw std::system_error(errno, std::generic_category(), "cannot write " + path.string());
            }
            written += static_cast<std::size_t>(count);
        }
        offset += size;
    }
    // A file system that reports a failed write only when the file is closed (network shares) is heard here.
    closer.fd = -1;
    if (::close(fd) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot write " + path.string());
    const Sha256::Digest digest = state.finish();
    return {Sha256::hex(digest.data(), digest.size()), static_cast<std::int64_t>(bytes.size())};
}

} // namespace lorekeep::FileHash
