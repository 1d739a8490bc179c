#import "FolderBookmarks.h"

#import "ObjCText.h"

#import <Foundation/Foundation.h>

#include <mutex>
#include <set>

namespace lorekeep::app {

namespace {

// Folders whose security scope this process has entered: entered once each, left when the process ends, since
// the destination is used by every later run.
std::set<std::string>& enteredScopes(std::unique_lock<std::mutex>& lock) {
    static std::mutex mutex;
    static std::set<std::string> scopes;
    lock = std::unique_lock(mutex);
    return scopes;
}

} // namespace

std::optional<std::vector<std::uint8_t>> makeFolderBookmark(const std::string& path) {
    @autoreleasepool {
        @try {
            NSURL* url = [NSURL fileURLWithPath:toNSString(path) isDirectory:YES];
            NSError* error = nil;
            NSData* data = [url bookmarkDataWithOptions:NSURLBookmarkCreationWithSecurityScope
                         includingResourceValuesForKeys:nil
                                          relativeToURL:nil
                                                  error:&error];
            // Outside the sandbox a security scope may be refused; a plain bookmark still follows the folder.
            if (!data)
                data = [url bookmarkDataWithOptions:0
                     includingResourceValuesForKeys:nil
                                      relativeToURL:nil
                                              error:&error];
            if (!data)
                return std::nullopt;
            const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
            return std::vector<std::uint8_t>(bytes, bytes + data.length);
        } @catch (NSException*) {
            return std::nullopt;
        }
    }
}

std::optional<ResolvedFolder> resolveFolderBookmark(const std::vector<std::uint8_t>& bookmark) {
    if (bookmark.empty())
        return std::nullopt;
    @autoreleasepool {
        @try {
            NSData* data = [NSData dataWithBytes:bookmark.data() length:bookmark.size()];
            BOOL stale = NO;
            NSError* error = nil;
            const NSURLBookmarkResolutionOptions quiet =
                NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithoutMounting;
            NSURL* url = [NSURL URLByResolvingBookmarkData:data
                                                   options:quiet | NSURLBookmarkResolutionWithSecurityScope
                                             relativeToURL:nil
                                       bookmarkDataIsStale:&stale
                                                     error:&error];
            bool scoped = url != nil;
            if (!url) {
                url = [NSURL URLByResolvingBookmarkData:data
                                                options:quiet
                                          relativeToURL:nil
                                    bookmarkDataIsStale:&stale
                                                  error:&error];
            }
            if (!url || !url.path)
                return std::nullopt;
            ResolvedFolder folder{toStdString(url.path), stale == YES};
            if (scoped) {
                std::unique_lock<std::mutex> lock;
                auto& scopes = enteredScopes(lock);
                // Entering fails, harmlessly, for a bookmark without a scope or outside the sandbox.
                if (!scopes.contains(folder.path) && [url startAccessingSecurityScopedResource])
                    scopes.insert(folder.path);
            }
            return folder;
        } @catch (NSException*) {
            return std::nullopt;
        }
    }
}

} // namespace lorekeep::app
