#pragma once

#include "base/StopToken.h"
#include "library/PhotoLibrary.h"
#include "library/photokit/PhotoKitError.h"

#include <memory>

namespace lorekeep {

/// The user's system Photos library through PhotoKit (macOS 13 and later). Apple builds only.
///
/// Every call blocks the calling thread until PhotoKit's completion handlers, which run on PhotoKit's own queues,
/// have answered: call it from a worker thread, never from an application's main thread. Nothing here waits for
/// the main queue, so the command-line tool may use it from its main thread. A stop requested on the token reaches
/// the resource download or render in flight. What the answers mean is decided in the plain C++ of
/// library/photokit/ (fetch options, facts, errors); this class only gathers facts and carries decisions out.
class PhotoKitLibrary final : public PhotoLibrary {
public:
    /// Throws LibraryError when Lorekeep is not allowed to read the library.
    explicit PhotoKitLibrary(StopToken stop = {});
    ~PhotoKitLibrary() override;

    /// Read-write authorization as it stands.
    [[nodiscard]] static photokit::Authorization authorization();
    /// Asks the user when the answer is not known yet and waits for it (not on the main thread).
    static photokit::Authorization requestAuthorization();

    AssetList fetchAssets(const FetchOptions& options) override;
    AssetList fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) override;
    AssetList fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) override;

    std::vector<Collection> topLevelCollections() override;
    std::vector<Collection> childCollections(const std::string& folderIdentifier) override;
    std::vector<Collection> albums(const std::vector<std::string>& identifiers) override;
    std::vector<Collection> albumsContaining(const std::string& assetIdentifier) override;

    std::vector<AssetResource> resources(const Asset& asset) override;
    void writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                       bool networkAllowed) override;
    void renderPhoto(const Asset& asset, const std::filesystem::path& destination) override;
    void renderVideo(const Asset& asset, const std::filesystem::path& destination) override;

    ChangeToken currentChangeToken() override;
    std::optional<ChangeToken> unarchiveToken(std::string_view archive) override;
    std::vector<PersistentChange> persistentChanges(const ChangeToken& since) override;

private:
    StopToken m_stop;
};

} // namespace lorekeep
