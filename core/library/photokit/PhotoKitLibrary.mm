// The library interface over PhotoKit. Facts are read off the framework's objects and handed to the decisions of
// PhotoKitFetch, PhotoKitFacts and PhotoKitError; completion handlers are waited for through PendingRequest.
#include "library/photokit/PhotoKitLibrary.h"

#include "library/photokit/PendingRequest.h"
#include "library/photokit/PhotoKitFacts.h"
#include "library/photokit/PhotoKitFetch.h"

#import <AVFoundation/AVFoundation.h>
#import <CoreLocation/CLLocation.h>
#import <Foundation/Foundation.h>
#import <Photos/Photos.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <system_error>

namespace lorekeep {
namespace {

using photokit::PendingRequest;

NSString* ns(const std::string& text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
    return string ? string : @"";
}

std::string text(NSString* string) {
    const char* utf8 = string.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
}

std::optional<std::string> optionalText(NSString* string) {
    if (!string)
        return std::nullopt;
    return text(string);
}

NSURL* fileURL(const std::filesystem::path& path) {
    return [NSURL fileURLWithPath:ns(path.string()) isDirectory:NO];
}

photokit::ErrorFacts factsOf(NSError* error) {
    return {text(error.domain), static_cast<long long>(error.code), text(error.localizedDescription)};
}

std::string errorText(NSError* error) {
    return photokit::errorText(factsOf(error));
}

const std::string stoppedText = "stopped before Photos answered";

// Objective-C exceptions become the library's errors at every entry point; ours pass through.
template <typename Body>
auto guarded(Body&& body) -> decltype(body()) {
    @try {
        return body();
    } @catch (NSException* exception) {
        throw LibraryError("Photos raised " + text(exception.name) + ": " + text(exception.reason));
    }
}

NSArray<NSString*>* nsArray(const std::vector<std::string>& identifiers) {
    NSMutableArray<NSString*>* array = [NSMutableArray arrayWithCapacity:identifiers.size()];
    for (const auto& identifier : identifiers)
        [array addObject:ns(identifier)];
    return array;
}

id conditionValue(const photokit::Condition& condition) {
    if (const auto* number = std::get_if<long long>(&condition.value))
        return @(*number);
    if (const auto* flag = std::get_if<bool>(&condition.value))
        return @(*flag);
    return [NSDate dateWithTimeIntervalSince1970:std::get<Date>(condition.value).unixSeconds()];
}

PHFetchOptions* fetchOptions(const photokit::FetchPlan& plan) {
    PHFetchOptions* options = [[PHFetchOptions alloc] init];
    NSMutableArray<NSPredicate*>* predicates = [NSMutableArray array];
    for (const auto& condition : plan.conditions) {
        NSString* key = ns(condition.key);
        id value = conditionValue(condition);
        [predicates addObject:condition.op == photokit::Condition::Op::equal
                                  ? [NSPredicate predicateWithFormat:@"%K == %@", key, value]
                                  : [NSPredicate predicateWithFormat:@"%K >= %@", key, value]];
    }
    if (predicates.count > 0)
        options.predicate = [NSCompoundPredicate andPredicateWithSubpredicates:predicates];
    if (plan.newestFirst)
        options.sortDescriptors = @[ [NSSortDescriptor sortDescriptorWithKey:@"creationDate" ascending:NO] ];
    options.includeHiddenAssets = plan.includeHiddenAssets;
    options.includeAssetSourceTypes = static_cast<PHAssetSourceType>(plan.sourceTypes);
    return options;
}

photokit::AssetFacts factsOf(PHAsset* asset) {
    photokit::AssetFacts facts;
    facts.localIdentifier = text(asset.localIdentifier);
    if (NSDate* created = asset.creationDate)
        facts.creationDate = created.timeIntervalSince1970;
    if (NSDate* modified = asset.modificationDate)
        facts.modificationDate = modified.timeIntervalSince1970;
    facts.mediaType = static_cast<long long>(asset.mediaType);
    facts.mediaSubtypes = static_cast<std::uint64_t>(asset.mediaSubtypes);
    facts.sourceType = static_cast<unsigned>(asset.sourceType);
    facts.favorite = asset.favorite;
    facts.hidden = asset.hidden;
    if (CLLocation* location = asset.location)
        facts.location =
            photokit::AssetFacts::Place{location.coordinate.latitude, location.coordinate.longitude, location.altitude,
                                        location.horizontalAccuracy, location.verticalAccuracy};
    return facts;
}

photokit::CollectionFacts factsOf(PHCollection* collection) {
    photokit::CollectionFacts facts;
    facts.localIdentifier = text(collection.localIdentifier);
    facts.localizedTitle = optionalText(collection.localizedTitle);
    if ([collection isKindOfClass:[PHAssetCollection class]]) {
        auto* album = static_cast<PHAssetCollection*>(collection);
        facts.type = static_cast<long long>(album.assetCollectionType);
        facts.subtype = static_cast<long long>(album.assetCollectionSubtype);
        facts.estimatedAssetCount = static_cast<long long>(album.estimatedAssetCount);
    } else {
        facts.isFolder = true;
    }
    return facts;
}

std::vector<Collection> collectionsOf(PHFetchResult* result) {
    std::vector<Collection> collections;
    for (NSUInteger i = 0; i < result.count; ++i) {
        @autoreleasepool {
            id object = [result objectAtIndex:i];
            if (![object isKindOfClass:[PHCollection class]])
                continue;
            if (auto collection = photokit::collectionFrom(factsOf(static_cast<PHCollection*>(object))))
                collections.push_back(std::move(*collection));
        }
    }
    return collections;
}

// A whole fetch result, read an asset at a time as the engine asks: PhotoKit loads its objects in chunks.
class FetchResultSource final : public AssetList::Source {
public:
    explicit FetchResultSource(PHFetchResult<PHAsset*>* result) : m_result(result) {}

    std::size_t count() const override { return m_result.count; }
    Asset at(std::size_t index) const override {
        @autoreleasepool {
            return guarded([&] { return photokit::assetFrom(factsOf([m_result objectAtIndex:index])); });
        }
    }
    std::string identifier(std::size_t index) const override {
        @autoreleasepool {
            return guarded([&] { return text([m_result objectAtIndex:index].localIdentifier); });
        }
    }

private:
    PHFetchResult<PHAsset*>* m_result;
};

AssetList listOf(PHFetchResult<PHAsset*>* result) {
    return AssetList(std::make_shared<const FetchResultSource>(result));
}

PHAsset* assetWithIdentifier(const std::string& identifier) {
    PHFetchOptions* options = [[PHFetchOptions alloc] init];
    options.includeHiddenAssets = YES;
    options.includeAssetSourceTypes = PHAssetSourceTypeUserLibrary | PHAssetSourceTypeCloudShared;
    return [PHAsset fetchAssetsWithLocalIdentifiers:@[ ns(identifier) ] options:options].firstObject;
}

PHAsset* existingAsset(const std::string& identifier) {
    PHAsset* asset = assetWithIdentifier(identifier);
    if (!asset)
        throw LibraryError(photokit::errorText(
            {photokit::photosErrorDomain, photokit::PhotosErrorCode::identifierNotFound, identifier}));
    return asset;
}

// The resource bytes go straight into the file as they arrive, on PhotoKit's queue. The worker closes the file;
// a chunk that arrives after that (a stop whose handler came late) is dropped.
class ResourceDownload {
public:
    explicit ResourceDownload(std::FILE* file) : m_file(file) {}
    ~ResourceDownload() { close(); }

    /// Appends a chunk; false when it could not be written (the first such error is kept).
    bool append(const void* bytes, std::size_t size) {
        const std::lock_guard lock(m_mutex);
        if (!m_file || m_error)
            return false;
        if (std::fwrite(bytes, 1, size, m_file) == size)
            return true;
        m_error = std::error_code(errno, std::generic_category()).message();
        return false;
    }
    /// Closes the file; false when the last bytes could not be written.
    bool close() {
        const std::lock_guard lock(m_mutex);
        if (!m_file)
            return true;
        const bool closed = std::fclose(m_file) == 0;
        m_file = nullptr;
        return closed;
    }
    std::optional<std::string> error() const {
        const std::lock_guard lock(m_mutex);
        return m_error;
    }

private:
    mutable std::mutex m_mutex;
    std::FILE* m_file;
    std::optional<std::string> m_error;
};

ChangeDetails detailsOf(PHPersistentObjectChangeDetails* details) {
    auto sorted = [](NSSet<NSString*>* identifiers) {
        std::vector<std::string> list;
        list.reserve(identifiers.count);
        for (NSString* identifier in identifiers)
            list.push_back(text(identifier));
        std::sort(list.begin(), list.end());
        return list;
    };
    return {sorted(details.insertedLocalIdentifiers), sorted(details.updatedLocalIdentifiers),
            sorted(details.deletedLocalIdentifiers)};
}

photokit::DetailsFacts detailsFacts(PHPersistentChange* change, PHObjectType type) {
    NSError* error = nil;
    PHPersistentObjectChangeDetails* details = [change changeDetailsForObjectType:type error:&error];
    if (!details)
        return {{}, error ? errorText(error) : photokit::noResultText("change details")};
    return {detailsOf(details), std::nullopt};
}

PHPersistentChangeToken* tokenOf(std::string_view archive) {
    NSData* data = [NSData dataWithBytes:archive.data() length:archive.size()];
    NSError* error = nil;
    return [NSKeyedUnarchiver unarchivedObjectOfClass:[PHPersistentChangeToken class] fromData:data error:&error];
}

} // namespace

PhotoKitLibrary::PhotoKitLibrary(StopToken stop) : m_stop(std::move(stop)) {
    if (auto problem = photokit::authorizationProblem(authorization()))
        throw LibraryError(*problem);
}

PhotoKitLibrary::~PhotoKitLibrary() = default;

photokit::Authorization PhotoKitLibrary::authorization() {
    return static_cast<photokit::Authorization>(
        [PHPhotoLibrary authorizationStatusForAccessLevel:PHAccessLevelReadWrite]);
}

photokit::Authorization PhotoKitLibrary::requestAuthorization() {
    auto pending = std::make_shared<PendingRequest>();
    auto status = std::make_shared<std::atomic<int>>(0);
    [PHPhotoLibrary requestAuthorizationForAccessLevel:PHAccessLevelReadWrite
                                               handler:^(PHAuthorizationStatus answer) {
                                                 status->store(static_cast<int>(answer));
                                                 pending->complete();
                                               }];
    // The user may take as long as they like to answer: no stop token reaches this wait.
    (void)pending->wait(StopToken());
    return static_cast<photokit::Authorization>(status->load());
}

AssetList PhotoKitLibrary::fetchAssets(const FetchOptions& options) {
    return guarded([&] {
        const auto plan = photokit::fetchPlan(options, photokit::FetchKind::wholeLibrary);
        if (plan.matchesNothing)
            return AssetList();
        return listOf([PHAsset fetchAssetsWithOptions:fetchOptions(plan)]);
    });
}

AssetList PhotoKitLibrary::fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) {
    return guarded([&] {
        const auto plan = photokit::fetchPlan(options, photokit::FetchKind::byIdentifiers);
        if (plan.matchesNothing || identifiers.empty())
            return AssetList();
        return listOf([PHAsset fetchAssetsWithLocalIdentifiers:nsArray(identifiers) options:fetchOptions(plan)]);
    });
}

AssetList PhotoKitLibrary::fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) {
    return guarded([&] {
        const auto plan = photokit::fetchPlan(options, photokit::FetchKind::inAlbum);
        PHAssetCollection* album = [PHAssetCollection fetchAssetCollectionsWithLocalIdentifiers:@[ ns(albumIdentifier) ]
                                                                                        options:nil]
                                       .firstObject;
        if (plan.matchesNothing || !album)
            return AssetList();
        return listOf([PHAsset fetchAssetsInAssetCollection:album options:fetchOptions(plan)]);
    });
}

std::vector<Collection> PhotoKitLibrary::topLevelCollections() {
    return guarded([&] {
        @autoreleasepool {
            return collectionsOf([PHCollection fetchTopLevelUserCollectionsWithOptions:nil]);
        }
    });
}

std::vector<Collection> PhotoKitLibrary::childCollections(const std::string& folderIdentifier) {
    return guarded([&] {
        @autoreleasepool {
            PHCollectionList* folder =
                [PHCollectionList fetchCollectionListsWithLocalIdentifiers:@[ ns(folderIdentifier) ] options:nil]
                    .firstObject;
            if (!folder)
                return std::vector<Collection>();
            return collectionsOf([PHCollection fetchCollectionsInCollectionList:folder options:nil]);
        }
    });
}

std::vector<Collection> PhotoKitLibrary::albums(const std::vector<std::string>& identifiers) {
    return guarded([&] {
        @autoreleasepool {
            if (identifiers.empty())
                return std::vector<Collection>();
            return collectionsOf([PHAssetCollection fetchAssetCollectionsWithLocalIdentifiers:nsArray(identifiers)
                                                                                      options:nil]);
        }
    });
}

std::vector<Collection> PhotoKitLibrary::albumsContaining(const std::string& assetIdentifier) {
    return guarded([&] {
        @autoreleasepool {
            PHAsset* asset = assetWithIdentifier(assetIdentifier);
            if (!asset)
                return std::vector<Collection>();
            return collectionsOf([PHAssetCollection fetchAssetCollectionsContainingAsset:asset
                                                                                withType:PHAssetCollectionTypeAlbum
                                                                                 options:nil]);
        }
    });
}

std::vector<AssetResource> PhotoKitLibrary::resources(const Asset& asset) {
    return guarded([&] {
        @autoreleasepool {
            std::vector<photokit::ResourceFacts> facts;
            for (PHAssetResource* resource in
                 [PHAssetResource assetResourcesForAsset:existingAsset(asset.localIdentifier)])
                facts.push_back({static_cast<long long>(resource.type), text(resource.originalFilename),
                                 text(resource.uniformTypeIdentifier)});
            return photokit::resourcesFrom(asset.localIdentifier, facts);
        }
    });
}

void PhotoKitLibrary::writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                                    bool networkAllowed) {
    guarded([&] {
        @autoreleasepool {
            const auto location = photokit::parseLocator(resource.locator);
            if (!location)
                throw LibraryError("not a resource of the Photos library: " + resource.locator);
            NSArray<PHAssetResource*>* current =
                [PHAssetResource assetResourcesForAsset:existingAsset(location->assetIdentifier)];
            std::vector<long long> types;
            for (PHAssetResource* candidate in current)
                types.push_back(static_cast<long long>(candidate.type));
            const auto index = photokit::pickResource(*location, types);
            if (!index)
                throw LibraryError(
                    photokit::errorText({photokit::photosErrorDomain, photokit::PhotosErrorCode::missingResource,
                                         resource.originalFilename}));

            std::FILE* file = std::fopen(destination.c_str(), "wb");
            if (!file)
                throw std::system_error(errno, std::generic_category(), "cannot create " + destination.string());
            auto download = std::make_shared<ResourceDownload>(file);
            auto requestID =
                std::make_shared<std::atomic<PHAssetResourceDataRequestID>>(PHInvalidAssetResourceDataRequestID);

            PHAssetResourceRequestOptions* options = [[PHAssetResourceRequestOptions alloc] init];
            options.networkAccessAllowed = networkAllowed;
            auto pending = std::make_shared<PendingRequest>();
            PHAssetResourceManager* manager = [PHAssetResourceManager defaultManager];
            const PHAssetResourceDataRequestID request = [manager requestDataForAssetResource:current[*index]
                options:options
                dataReceivedHandler:^(NSData* chunk) {
                  // A full disk ends the download at once rather than after the whole file came.
                  if (!pending->stopping() && !download->append(chunk.bytes, chunk.length))
                      [manager cancelDataRequest:requestID->load()];
                }
                completionHandler:^(NSError* error) {
                  pending->complete(error ? std::optional(errorText(error)) : std::nullopt);
                }];
            requestID->store(request);
            pending->setCancel([manager, request] { [manager cancelDataRequest:request]; });

            const bool stopped = pending->wait(m_stop) == PendingRequest::Outcome::stopped || pending->stopping();
            const bool closed = download->close();
            std::optional<std::string> failure = download->error() ? download->error() : pending->error();
            if (stopped)
                failure = stoppedText;
            else if (!failure && !closed)
                failure = "cannot write " + destination.string();
            if (failure) {
                std::error_code ignored;
                std::filesystem::remove(destination, ignored);
                throw LibraryError(*failure);
            }
        }
    });
}

void PhotoKitLibrary::renderPhoto(const Asset& asset, const std::filesystem::path& destination) {
    guarded([&] {
        @autoreleasepool {
            PHAsset* photo = existingAsset(asset.localIdentifier);
            auto pending = std::make_shared<PendingRequest>();
            auto noData = std::make_shared<std::atomic<bool>>(false);
            PHImageRequestOptions* options = [[PHImageRequestOptions alloc] init];
            options.version = PHImageRequestOptionsVersionCurrent;
            options.deliveryMode = PHImageRequestOptionsDeliveryModeHighQualityFormat;
            options.networkAccessAllowed = YES;
            // Synchronous: an asynchronous image request answers on the main queue, which a worker must never wait
            // for. It runs on a queue of its own so that this thread can still notice a stop; the download is
            // stopped through the progress handler.
            options.synchronous = YES;
            options.progressHandler = ^(double, NSError*, BOOL* stop, NSDictionary*) {
              if (pending->stopping())
                  *stop = YES;
            };
            NSURL* url = fileURL(destination);
            dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
              [[PHImageManager defaultManager]
                  requestImageDataAndOrientationForAsset:photo
                                                 options:options
                                           resultHandler:^(NSData* data, NSString*, CGImagePropertyOrientation,
                                                           NSDictionary* info) {
                                             NSError* error = info[PHImageErrorKey];
                                             if (error) {
                                                 pending->complete(errorText(error));
                                             } else if (!data) {
                                                 noData->store(true);
                                                 pending->complete();
                                             } else if (pending->stopping()) {
                                                 pending->complete(stoppedText);
                                             } else {
                                                 NSError* writeError = nil;
                                                 const bool written = [data writeToURL:url options:0 error:&writeError];
                                                 pending->complete(
                                                     written ? std::nullopt
                                                             : std::optional(text(writeError.localizedDescription)));
                                             }
                                           }];
            });
            if (pending->wait(m_stop) == PendingRequest::Outcome::stopped)
                throw LibraryError(stoppedText);
            if (auto error = pending->error())
                throw LibraryError(*error);
            if (noData->load())
                throw RenderError::noData();
        }
    });
}

void PhotoKitLibrary::renderVideo(const Asset& asset, const std::filesystem::path& destination) {
    guarded([&] {
        @autoreleasepool {
            PHAsset* video = existingAsset(asset.localIdentifier);
            PHVideoRequestOptions* options = [[PHVideoRequestOptions alloc] init];
            options.version = PHVideoRequestOptionsVersionCurrent;
            options.deliveryMode = PHVideoRequestOptionsDeliveryModeHighQualityFormat;
            options.networkAccessAllowed = YES;

            // 1. The export session, delivered on one of PhotoKit's queues.
            struct Delivery {
                AVAssetExportSession* session = nil;
            };
            auto delivery = std::make_shared<Delivery>();
            auto requested = std::make_shared<PendingRequest>();
            PHImageManager* manager = [PHImageManager defaultManager];
            const PHImageRequestID request =
                [manager requestExportSessionForVideo:video
                                              options:options
                                         exportPreset:AVAssetExportPresetHighestQuality
                                        resultHandler:^(AVAssetExportSession* session, NSDictionary* info) {
                                          NSError* error = info[PHImageErrorKey];
                                          delivery->session = session;
                                          requested->complete(error ? std::optional(errorText(error)) : std::nullopt);
                                        }];
            requested->setCancel([manager, request] { [manager cancelImageRequest:request]; });
            if (requested->wait(m_stop) == PendingRequest::Outcome::stopped)
                throw LibraryError(stoppedText);
            if (auto error = requested->error())
                throw LibraryError(*error);
            AVAssetExportSession* session = delivery->session;
            if (!session)
                throw RenderError::noData();
            if (m_stop.stopRequested())
                throw LibraryError(stoppedText);

            // 2. The export, into a temporary movie beside the destination.
            const std::filesystem::path temporary =
                destination.parent_path() / (".render-" + text(NSUUID.UUID.UUIDString) + ".mov");
            session.outputURL = fileURL(temporary);
            session.outputFileType = AVFileTypeQuickTimeMovie;
            auto exported = std::make_shared<PendingRequest>();
            [session exportAsynchronouslyWithCompletionHandler:^{
              exported->complete();
            }];
            exported->setCancel([session] { [session cancelExport]; });
            const bool stopped = exported->wait(m_stop) == PendingRequest::Outcome::stopped;
            std::error_code ignored;
            if (stopped || session.status != AVAssetExportSessionStatusCompleted) {
                std::filesystem::remove(temporary, ignored);
                if (stopped)
                    throw LibraryError(stoppedText);
                NSError* error = session.error;
                throw RenderError::exportFailed(error ? text(error.localizedDescription)
                                                      : "status " +
                                                            std::to_string(static_cast<long long>(session.status)));
            }
            std::filesystem::rename(temporary, destination);
        }
    });
}

ChangeToken PhotoKitLibrary::currentChangeToken() {
    return guarded([&] {
        @autoreleasepool {
            PHPersistentChangeToken* token = [PHPhotoLibrary sharedPhotoLibrary].currentChangeToken;
            NSError* error = nil;
            NSData* archive =
                token ? [NSKeyedArchiver archivedDataWithRootObject:token requiringSecureCoding:YES error:&error] : nil;
            if (!archive)
                throw LibraryError(error ? errorText(error) : photokit::noResultText("current change token"));
            return ChangeToken{std::string(static_cast<const char*>(archive.bytes), archive.length)};
        }
    });
}

std::optional<ChangeToken> PhotoKitLibrary::unarchiveToken(std::string_view archive) {
    return guarded([&]() -> std::optional<ChangeToken> {
        @autoreleasepool {
            if (!tokenOf(archive))
                return std::nullopt;
            return ChangeToken{std::string(archive)};
        }
    });
}

std::vector<PersistentChange> PhotoKitLibrary::persistentChanges(const ChangeToken& since) {
    return guarded([&] {
        @autoreleasepool {
            PHPersistentChangeToken* token = tokenOf(since.archive);
            if (!token)
                throw LibraryError("the stored change token is not one of this Photos library's");
            NSError* error = nil;
            PHPersistentChangeFetchResult* result =
                [[PHPhotoLibrary sharedPhotoLibrary] fetchPersistentChangesSinceToken:token error:&error];
            if (!result)
                throw LibraryError(error ? errorText(error) : photokit::noResultText("change history"));
            std::vector<photokit::ChangeFacts> history;
            auto* facts = &history;
            [result enumerateChangesWithBlock:^(PHPersistentChange* change, BOOL*) {
              @autoreleasepool {
                  facts->push_back({detailsFacts(change, PHObjectTypeAsset),
                                    detailsFacts(change, PHObjectTypeAssetCollection),
                                    detailsFacts(change, PHObjectTypeCollectionList)});
              }
            }];
            return photokit::changesFrom(history);
        }
    });
}

} // namespace lorekeep
