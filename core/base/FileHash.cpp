#include "base/FileHash.h"

#include "base/Sha256.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace lorekeep::FileHash {
namespace {

constexpr std::size_t chunkSize = 1'048'576;

struct Descriptor {
    int fd;
    ~Descriptor() { ::close(fd); }
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

} // namespace lorekeep::FileHash
