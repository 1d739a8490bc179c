#include "support/FakePhotoLibrary.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>

namespace lorekeep::test {
namespace {

using Lock = std::lock_guard<std::mutex>;

/// A fetch result: a snapshot of the matching assets, counting how many are read out of it.
class SnapshotSource final : public AssetList::Source {
public:
    SnapshotSource(std::vector<Asset> assets, std::shared_ptr<std::atomic<std::int64_t>> reads)
        : m_assets(std::move(assets)), m_reads(std::move(reads)) {}
    std::size_t count() const override { return m_assets.size(); }
    Asset at(std::size_t index) const override {
        ++*m_reads;
        return m_assets.at(index);
    }

private:
    std::vector<Asset> m_assets;
    std::shared_ptr<std::atomic<std::int64_t>> m_reads;
};

std::string typeIdentifierFor(std::string_view filename) {
    const auto dot = filename.rfind('.');
    std::string extension(dot == std::string_view::npos ? std::string_view{} : filename.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static const std::pair<const char*, const char*> known[] = {
        {"heic", "public.heic"},
        {"jpg", "public.jpeg"},
        {"jpeg", "public.jpeg"},
        {"png", "public.png"},
        {"tif", "public.tiff"},
        {"tiff", "public.tiff"},
        {"dng", "com.adobe.raw-image"},
        {"cr2", "com.canon.cr2-raw-image"},
        {"mov", "com.apple.quicktime-movie"},
        {"mp4", "public.mpeg-4"},
        {"m4a", "com.apple.m4a-audio"},
        {"aae", "com.apple.photos.adjustment-data"},
        {"plist", "com.apple.property-list"},
    };
    for (const auto& [ext, identifier] : known) {
        if (extension == ext)
            return identifier;
    }
    return "public.data";
}

std::string locatorFor(const std::string& assetId, std::size_t index) {
    return assetId + "#" + std::to_string(index);
}

void writeBytes(const std::filesystem::path& destination, const std::string& bytes) {
    std::ofstream out(destination, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw LibraryError("cannot write " + destination.string());
}

bool matches(const Asset& asset, const FetchOptions& options) {
    if ((options.sourceTypes & static_cast<int>(asset.sourceType)) == 0)
        return false;
    if (asset.hidden && !options.includeHidden)
        return false;
    if (options.hiddenOnly && !asset.hidden)
        return false;
    if (options.mediaType && *options.mediaType != static_cast<int>(asset.mediaType))
        return false;
    if (options.createdOnOrAfter && !(asset.creationDate && *asset.creationDate >= *options.createdOnOrAfter))
        return false;
    return true;
}

} // namespace

FakePhotoLibrary::FakePhotoLibrary() : m_assetReads(std::make_shared<std::atomic<std::int64_t>>(0)) {}

Asset FakePhotoLibrary::photo(std::string id, std::optional<Date> created) {
    return Asset{.localIdentifier = std::move(id),
                 .creationDate = created,
                 .modificationDate = created,
                 .mediaType = MediaType::image};
}

Asset FakePhotoLibrary::video(std::string id, std::optional<Date> created) {
    return Asset{.localIdentifier = std::move(id),
                 .creationDate = created,
                 .modificationDate = created,
                 .mediaType = MediaType::video};
}

void FakePhotoLibrary::addAsset(Asset asset, std::vector<Resource> resources) {
    Lock lock(m_mutex);
    for (auto& resource : resources) {
        if (resource.uniformTypeIdentifier.empty())
            resource.uniformTypeIdentifier = typeIdentifierFor(resource.originalFilename);
    }
    if (Entry* entry = findEntry(asset.localIdentifier)) {
        *entry = Entry{std::move(asset), std::move(resources), {}, {}};
        return;
    }
    m_positions[asset.localIdentifier] = m_entries.size();
    m_entries.push_back(Entry{std::move(asset), std::move(resources), {}, {}});
}

bool FakePhotoLibrary::updateAsset(const Asset& asset) {
    Lock lock(m_mutex);
    Entry* entry = findEntry(asset.localIdentifier);
    if (entry)
        entry->asset = asset;
    return entry != nullptr;
}

void FakePhotoLibrary::setResources(const std::string& assetId, std::vector<Resource> resources) {
    Lock lock(m_mutex);
    Entry* entry = findEntry(assetId);
    if (!entry)
        throw std::invalid_argument("no asset " + assetId);
    for (auto& resource : resources) {
        if (resource.uniformTypeIdentifier.empty())
            resource.uniformTypeIdentifier = typeIdentifierFor(resource.originalFilename);
    }
    entry->resources = std::move(resources);
}

void FakePhotoLibrary::setWriteFailure(const std::string& assetId, ResourceType type, WriteFailure failure) {
    Lock lock(m_mutex);
    Entry* entry = findEntry(assetId);
    if (!entry)
        throw std::invalid_argument("no asset " + assetId);
    for (auto& resource : entry->resources) {
        if (resource.type == type)
            resource.failure = failure;
    }
}

bool FakePhotoLibrary::removeAsset(const std::string& assetId) {
    Lock lock(m_mutex);
    const auto found = m_positions.find(assetId);
    if (found == m_positions.end())
        return false;
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(found->second));
    m_positions.clear();
    for (std::size_t i = 0; i < m_entries.size(); ++i)
        m_positions[m_entries[i].asset.localIdentifier] = i;
    return true;
}

void FakePhotoLibrary::addFolder(Folder folder) {
    Lock lock(m_mutex);
    if (folder.parent && !findNode(*folder.parent))
        throw std::invalid_argument("no folder " + *folder.parent);
    m_nodes.push_back(Node{.collection = {.kind = CollectionKind::folder,
                                          .localIdentifier = std::move(folder.id),
                                          .title = std::move(folder.title)},
                           .parent = std::move(folder.parent)});
}

void FakePhotoLibrary::addAlbum(Album album) {
    Lock lock(m_mutex);
    if (album.folder && !findNode(*album.folder))
        throw std::invalid_argument("no folder " + *album.folder);
    m_nodes.push_back(Node{.collection = {.kind = CollectionKind::album,
                                          .localIdentifier = std::move(album.id),
                                          .title = std::move(album.title),
                                          .subtype = album.subtype},
                           .parent = std::move(album.folder),
                           .assets = std::move(album.assets),
                           .countKnown = album.countKnown});
}

void FakePhotoLibrary::setAlbumAssets(const std::string& albumId, std::vector<std::string> assetIds) {
    Lock lock(m_mutex);
    Node* node = findNode(albumId);
    if (!node || node->collection.kind != CollectionKind::album)
        throw std::invalid_argument("no album " + albumId);
    node->assets = std::move(assetIds);
}

void FakePhotoLibrary::setCollectionTitle(const std::string& id, std::optional<std::string> title) {
    Lock lock(m_mutex);
    Node* node = findNode(id);
    if (!node)
        throw std::invalid_argument("no collection " + id);
    node->collection.title = std::move(title);
}

bool FakePhotoLibrary::removeCollection(const std::string& id) {
    Lock lock(m_mutex);
    std::vector<std::string> doomed{id};
    bool removed = false;
    while (!doomed.empty()) {
        const std::string current = doomed.back();
        doomed.pop_back();
        for (const auto& node : m_nodes) {
            if (node.parent == current)
                doomed.push_back(node.collection.localIdentifier);
        }
        removed |= std::erase_if(m_nodes, [&](const Node& node) { return node.collection.localIdentifier == current; });
    }
    return removed;
}

void FakePhotoLibrary::setRender(const std::string& assetId, std::string bytes) {
    Lock lock(m_mutex);
    Entry* entry = findEntry(assetId);
    if (!entry)
        throw std::invalid_argument("no asset " + assetId);
    entry->render = std::move(bytes);
    entry->renderFailure.reset();
}

void FakePhotoLibrary::failRender(const std::string& assetId, RenderError error) {
    Lock lock(m_mutex);
    Entry* entry = findEntry(assetId);
    if (!entry)
        throw std::invalid_argument("no asset " + assetId);
    entry->renderFailure = std::move(error);
}

std::pair<ChangeToken, ChangeToken> FakePhotoLibrary::recordChange(PersistentChange change) {
    Lock lock(m_mutex);
    const ChangeToken before = tokenAt(m_history.size());
    m_history.push_back(std::move(change));
    return {before, tokenAt(m_history.size())};
}

void FakePhotoLibrary::failPersistentChanges(std::optional<std::string> text) {
    Lock lock(m_mutex);
    m_historyFailure = std::move(text);
}

void FakePhotoLibrary::setStoreIdentifier(std::string identifier) {
    Lock lock(m_mutex);
    m_storeIdentifier = std::move(identifier);
}

std::vector<FakePhotoLibrary::WriteRecord> FakePhotoLibrary::writes() const {
    Lock lock(m_mutex);
    return m_writes;
}

int FakePhotoLibrary::renderCount() const {
    Lock lock(m_mutex);
    return m_renders;
}

int FakePhotoLibrary::resourceListings() const {
    Lock lock(m_mutex);
    return m_resourceListings;
}

AssetList FakePhotoLibrary::fetchAssets(const FetchOptions& options) {
    Lock lock(m_mutex);
    std::vector<const Entry*> candidates;
    candidates.reserve(m_entries.size());
    for (const auto& entry : m_entries)
        candidates.push_back(&entry);
    return select(std::move(candidates), options);
}

AssetList FakePhotoLibrary::fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) {
    Lock lock(m_mutex);
    std::vector<std::size_t> positions;
    for (const auto& id : identifiers) {
        if (const auto found = m_positions.find(id); found != m_positions.end())
            positions.push_back(found->second);
    }
    // Like PhotoKit, the answer comes in library order, whatever the order of the identifiers asked for.
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    std::vector<const Entry*> candidates;
    for (const auto position : positions)
        candidates.push_back(&m_entries[position]);
    return select(std::move(candidates), options);
}

AssetList FakePhotoLibrary::fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) {
    Lock lock(m_mutex);
    const Node* node = findNode(albumIdentifier);
    if (!node || node->collection.kind != CollectionKind::album)
        return {};
    std::vector<const Entry*> candidates;
    for (const auto& id : node->assets) {
        if (const Entry* entry = findEntry(id);
            entry && std::find(candidates.begin(), candidates.end(), entry) == candidates.end())
            candidates.push_back(entry);
    }
    return select(std::move(candidates), options);
}

std::vector<Collection> FakePhotoLibrary::topLevelCollections() {
    Lock lock(m_mutex);
    std::vector<Collection> result;
    for (const auto& node : m_nodes) {
        if (!node.parent)
            result.push_back(describe(node));
    }
    return result;
}

std::vector<Collection> FakePhotoLibrary::childCollections(const std::string& folderIdentifier) {
    Lock lock(m_mutex);
    std::vector<Collection> result;
    for (const auto& node : m_nodes) {
        if (node.parent == folderIdentifier)
            result.push_back(describe(node));
    }
    return result;
}

std::vector<Collection> FakePhotoLibrary::albums(const std::vector<std::string>& identifiers) {
    Lock lock(m_mutex);
    std::vector<Collection> result;
    for (const auto& node : m_nodes) {
        if (node.collection.kind == CollectionKind::album &&
            std::find(identifiers.begin(), identifiers.end(), node.collection.localIdentifier) != identifiers.end())
            result.push_back(describe(node));
    }
    return result;
}

std::vector<Collection> FakePhotoLibrary::albumsContaining(const std::string& assetIdentifier) {
    Lock lock(m_mutex);
    std::vector<Collection> result;
    for (const auto& node : m_nodes) {
        if (node.collection.kind == CollectionKind::album &&
            node.collection.subtype < AlbumSubtype::smartAlbumGeneric &&
            std::find(node.assets.begin(), node.assets.end(), assetIdentifier) != node.assets.end())
            result.push_back(describe(node));
    }
    return result;
}

std::vector<std::string> FakePhotoLibrary::toldAhead() const {
    Lock lock(m_mutex);
    return m_toldAhead;
}

void FakePhotoLibrary::willExport(const std::vector<std::string>& assetIdentifiers) {
    Lock lock(m_mutex);
    m_toldAhead.insert(m_toldAhead.end(), assetIdentifiers.begin(), assetIdentifiers.end());
}

std::vector<AssetResource> FakePhotoLibrary::resources(const Asset& asset) {
    Lock lock(m_mutex);
    ++m_resourceListings;
    std::vector<AssetResource> result;
    if (const Entry* entry = findEntry(asset.localIdentifier)) {
        for (std::size_t i = 0; i < entry->resources.size(); ++i) {
            const Resource& resource = entry->resources[i];
            result.push_back(AssetResource{.type = resource.type,
                                           .originalFilename = resource.originalFilename,
                                           .uniformTypeIdentifier = resource.uniformTypeIdentifier,
                                           .locator = locatorFor(asset.localIdentifier, i)});
        }
    }
    return result;
}

void FakePhotoLibrary::writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                                     bool networkAllowed) {
    Lock lock(m_mutex);
    const auto hash = resource.locator.rfind('#');
    const Resource* stored = nullptr;
    std::string assetId;
    if (hash != std::string::npos) {
        assetId = resource.locator.substr(0, hash);
        std::size_t index = 0;
        const char* first = resource.locator.data() + hash + 1;
        const char* last = resource.locator.data() + resource.locator.size();
        const Entry* entry = findEntry(assetId);
        if (entry && std::from_chars(first, last, index).ptr == last && index < entry->resources.size())
            stored = &entry->resources[index];
    }
    if (!stored)
        throw LibraryError("unknown resource " + resource.locator);

    WriteRecord& record = m_writes.emplace_back(WriteRecord{assetId, stored->type, networkAllowed, false});
    if (stored->failure == WriteFailure::always)
        throw LibraryError(writeFailedText);
    if (stored->failure == WriteFailure::withoutNetwork && !networkAllowed)
        throw LibraryError(notDownloadedText);
    // PhotoKit refuses to write over an existing file.
    if (std::filesystem::exists(std::filesystem::symlink_status(destination)))
        throw LibraryError("a file already exists at " + destination.string());
    writeBytes(destination, stored->bytes);
    record.succeeded = true;
}

void FakePhotoLibrary::renderPhoto(const Asset& asset, const std::filesystem::path& destination) {
    render(asset, ResourceType::fullSizePhoto, destination);
}

void FakePhotoLibrary::renderVideo(const Asset& asset, const std::filesystem::path& destination) {
    render(asset, ResourceType::fullSizeVideo, destination);
}

ChangeToken FakePhotoLibrary::currentChangeToken() {
    Lock lock(m_mutex);
    return tokenAt(m_history.size());
}

std::optional<ChangeToken> FakePhotoLibrary::unarchiveToken(std::string_view archive) {
    Lock lock(m_mutex);
    if (!positionOf(archive))
        return std::nullopt;
    return ChangeToken{std::string(archive)};
}

std::vector<PersistentChange> FakePhotoLibrary::persistentChanges(const ChangeToken& since) {
    Lock lock(m_mutex);
    if (m_historyFailure)
        throw LibraryError(*m_historyFailure);
    const auto position = positionOf(since.archive);
    if (!position)
        throw LibraryError("the change token does not belong to this library");
    return {m_history.begin() + static_cast<std::ptrdiff_t>(*position), m_history.end()};
}

FakePhotoLibrary::Entry* FakePhotoLibrary::findEntry(const std::string& assetId) {
    const auto found = m_positions.find(assetId);
    return found == m_positions.end() ? nullptr : &m_entries[found->second];
}

FakePhotoLibrary::Node* FakePhotoLibrary::findNode(const std::string& id) {
    for (auto& node : m_nodes) {
        if (node.collection.localIdentifier == id)
            return &node;
    }
    return nullptr;
}

Collection FakePhotoLibrary::describe(const Node& node) const {
    Collection collection = node.collection;
    if (collection.kind == CollectionKind::album && node.countKnown) {
        collection.estimatedCount = static_cast<std::int64_t>(std::count_if(
            node.assets.begin(), node.assets.end(), [&](const std::string& id) { return m_positions.contains(id); }));
    }
    return collection;
}

AssetList FakePhotoLibrary::select(std::vector<const Entry*> candidates, const FetchOptions& options) const {
    std::vector<Asset> assets;
    for (const Entry* entry : candidates) {
        if (matches(entry->asset, options))
            assets.push_back(entry->asset);
    }
    if (options.newestFirst) {
        // Assets without a creation date go last, as PhotoKit sorts them.
        std::stable_sort(assets.begin(), assets.end(), [](const Asset& a, const Asset& b) {
            if (!a.creationDate || !b.creationDate)
                return a.creationDate.has_value() && !b.creationDate.has_value();
            return *a.creationDate > *b.creationDate;
        });
    }
    return AssetList(std::make_shared<const SnapshotSource>(std::move(assets), m_assetReads));
}

void FakePhotoLibrary::render(const Asset& asset, ResourceType fullSizeType, const std::filesystem::path& destination) {
    Lock lock(m_mutex);
    ++m_renders;
    const Entry* entry = findEntry(asset.localIdentifier);
    if (!entry)
        throw RenderError::noData();
    if (entry->renderFailure)
        throw *entry->renderFailure;
    const std::string* bytes = entry->render ? &*entry->render : nullptr;
    for (const auto& resource : entry->resources) {
        if (!bytes && resource.type == fullSizeType)
            bytes = &resource.bytes;
    }
    if (!bytes)
        throw RenderError::noData();
    writeBytes(destination, *bytes);
}

ChangeToken FakePhotoLibrary::tokenAt(std::size_t position) const {
    return ChangeToken{"fake-history:" + m_storeIdentifier + ":" + std::to_string(position)};
}

std::optional<std::size_t> FakePhotoLibrary::positionOf(std::string_view archive) const {
    const std::string prefix = "fake-history:" + m_storeIdentifier + ":";
    if (!archive.starts_with(prefix))
        return std::nullopt;
    const std::string_view digits = archive.substr(prefix.size());
    std::size_t position = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), position);
    if (digits.empty() || error != std::errc{} || end != digits.data() + digits.size() || position > m_history.size())
        return std::nullopt;
    return position;
}

} // namespace lorekeep::test
