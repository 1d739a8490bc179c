// Alias files through Foundation bookmarks. The Apple build takes this file in place of AliasWriter_linux.cpp.
#include "albums/AliasWriter.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <system_error>

namespace lorekeep {
namespace {

NSURL* fileURL(const std::filesystem::path& path) {
    return [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()] isDirectory:NO];
}

class FoundationAliasWriter final : public AliasWriter {
public:
    bool canWrite() const override { return true; }

    void write(const std::filesystem::path& target, const std::filesystem::path& alias) override {
        @autoreleasepool {
            NSError* error = nil;
            NSData* bookmark = [fileURL(target) bookmarkDataWithOptions:NSURLBookmarkCreationSuitableForBookmarkFile
                                         includingResourceValuesForKeys:nil
                                                          relativeToURL:nil
                                                                  error:&error];
            if (!bookmark || ![NSURL writeBookmarkData:bookmark
                                                 toURL:fileURL(alias)
                                               options:NSURLBookmarkCreationSuitableForBookmarkFile
                                                 error:&error])
                throw std::system_error(EIO, std::generic_category(),
                                        error ? error.localizedDescription.UTF8String : "cannot write alias file");
        }
    }

    bool isAlias(const std::filesystem::path& path) const override {
        @autoreleasepool {
            NSNumber* alias = nil;
            NSNumber* symlink = nil;
            NSURL* url = fileURL(path);
            if (![url getResourceValue:&symlink forKey:NSURLIsSymbolicLinkKey error:nil] || symlink.boolValue)
                return false;
            return [url getResourceValue:&alias forKey:NSURLIsAliasFileKey error:nil] && alias.boolValue;
        }
    }
};

} // namespace

std::shared_ptr<AliasWriter> AliasWriter::platform() {
    return std::make_shared<FoundationAliasWriter>();
}

} // namespace lorekeep
