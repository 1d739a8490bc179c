#include "index/BackupIndex.h"

#include "base/AtomicFile.h"
#include "base/Json.h"
#include "base/JsonWriter.h"
#include "index/BackupIndexReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lorekeep {
namespace {

constexpr std::size_t flushThreshold = 1 << 20;

void writeAsset(JsonWriter& writer, const std::string& id, const IndexedAsset& asset) {
    writer.key(id);
    writer.startObject();
    if (asset.modificationDate) {
        writer.key("modificationDate");
        writer.number(asset.modificationDate->referenceSeconds());
    }
    writer.key("files");
    writer.startArray();
    for (const IndexedFile& file : asset.files) {
        writer.startObject();
        writer.key("role");
        writer.string(toString(file.role));
        writer.key("relativePath");
        writer.string(file.relativePath);
        writer.key("sha256");
        writer.string(file.sha256);
        writer.key("bytes");
        writer.integer(file.bytes);
        if (file.xmpPath) {
            writer.key("xmpPath");
            writer.string(*file.xmpPath);
        }
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
}

// The members after "assets", and the end of the root object.
void writeRootTail(JsonWriter& writer, const BackupIndex& index) {
    const auto writeDate = [&](const char* key, const std::optional<Date>& date) {
        if (date) {
            writer.key(key);
            writer.number(date->referenceSeconds());
        }
    };
    const auto writeText = [&](const char* key, const std::optional<std::string>& text) {
        if (text) {
            writer.key(key);
            writer.string(*text);
        }
    };
    writeDate("lastSuccessfulRun", index.lastSuccessfulRun);
    writeText("changeToken", index.changeToken);
    writeText("scopeKey", index.scopeKey);
    writeDate("lastVerified", index.lastVerified);
    writer.endObject();
}

// Writes the stored form, handing the text to `sink` in pieces so that a large index is never held twice.
template <typename Sink>
void writeIndex(const BackupIndex& index, Sink&& sink) {
    JsonWriter writer;
    writer.startObject();
    writer.key("version");
    writer.integer(index.version);
    writer.key("assets");
    writer.startObject();
    for (const auto& [id, asset] : index.assets) {
        writeAsset(writer, id, asset);
        if (writer.output().size() >= flushThreshold) {
            sink(writer.output());
            writer.output().clear();
        }
    }
    writer.endObject();
    writeRootTail(writer, index);
    sink(writer.output());
}

} // namespace

std::filesystem::path BackupIndex::location(const std::filesystem::path& root) {
    return root / ".lorekeep" / "index.json";
}

BackupIndex BackupIndex::load(const std::filesystem::path& root) {
    std::optional<StoredFile> ignored;
    return load(root, ignored);
}

namespace {

BackupIndex::StoredFile describe(int descriptor, std::size_t assetsEnd) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return {};
#if defined(__APPLE__)
    const auto modified =
        static_cast<std::int64_t>(status.st_mtimespec.tv_sec) * 1'000'000'000 + status.st_mtimespec.tv_nsec;
#else
    const auto modified = static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
#endif
    return {assetsEnd, static_cast<std::uintmax_t>(status.st_size), modified,
            static_cast<std::uint64_t>(status.st_ino)};
}

} // namespace

BackupIndex BackupIndex::load(const std::filesystem::path& root, std::optional<StoredFile>& stored) {
    stored.reset();
    const std::filesystem::path path = location(root);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file)
        throw std::system_error(errno, std::generic_category(), "cannot open " + path.string());
    std::optional<std::size_t> assetsEnd;
    BackupIndex index = readBackupIndex(file.get(), assetsEnd);
    if (std::ferror(file.get()))
        throw std::system_error(EIO, std::generic_category(), "cannot read " + path.string());
    if (assetsEnd)
        stored = describe(::fileno(file.get()), *assetsEnd);
    return index;
}

bool BackupIndex::saveKeepingAssets(const std::filesystem::path& root, const StoredFile& stored) const {
    const std::filesystem::path path = location(root);
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct Closer {
        int descriptor;
        ~Closer() { ::close(descriptor); }
    } closer{descriptor};
    const StoredFile now = describe(descriptor, stored.assetsEnd);
    if (now.size != stored.size || now.modified != stored.modified || now.inode != stored.inode ||
        stored.assetsEnd == 0 || stored.assetsEnd > stored.size)
        return false;

    AtomicFile file(path);
    std::string buffer(1 << 20, '\0');
    for (std::size_t copied = 0; copied < stored.assetsEnd;) {
        const std::size_t wanted = std::min(buffer.size(), stored.assetsEnd - copied);
        const ssize_t got = ::pread(descriptor, buffer.data(), wanted, static_cast<off_t>(copied));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            throw std::system_error(got < 0 ? errno : EIO, std::generic_category(), "cannot read " + path.string());
        file.write(std::string_view(buffer.data(), static_cast<std::size_t>(got)));
        copied += static_cast<std::size_t>(got);
    }
    // The writer's state after the assets: in the root object, past its first members.
    JsonWriter writer;
    writer.startObject();
    writer.key("version");
    writer.integer(version);
    writer.output().clear();
    writeRootTail(writer, *this);
    file.write(writer.output());
    file.commit();
    return true;
}

void BackupIndex::save(const std::filesystem::path& root) const {
    const std::filesystem::path path = location(root);
    std::filesystem::create_directories(path.parent_path());
    AtomicFile file(path);
    writeIndex(*this, [&](const std::string& text) { file.write(text); });
    file.commit();
}

BackupIndex BackupIndex::fromJson(std::string_view text) {
    return readBackupIndex(text);
}

std::string BackupIndex::toJson() const {
    std::string text;
    writeIndex(*this, [&](const std::string& piece) { text += piece; });
    return text;
}

const IndexedAsset* BackupIndex::find(std::string_view localIdentifier) const {
    const auto it = assets.find(localIdentifier);
    return it == assets.end() ? nullptr : &it->second;
}

void BackupIndex::set(const std::string& localIdentifier, IndexedAsset entry) {
    assets.insert_or_assign(localIdentifier, std::move(entry));
}

bool BackupIndex::remove(std::string_view localIdentifier) {
    const auto it = assets.find(localIdentifier);
    if (it == assets.end())
        return false;
    assets.erase(it);
    return true;
}

std::size_t BackupIndex::fileCount() const {
    std::size_t count = 0;
    for (const auto& [id, asset] : assets)
        count += asset.files.size();
    return count;
}

std::int64_t BackupIndex::byteTotal() const {
    std::int64_t total = 0;
    for (const auto& [id, asset] : assets) {
        for (const IndexedFile& file : asset.files)
            total += file.bytes;
    }
    return total;
}

} // namespace lorekeep
