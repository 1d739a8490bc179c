#include "WorkspaceMac.h"

#import <Foundation/Foundation.h>

// NSWorkspace belongs to AppKit, which the application has loaded; this file is built against Foundation alone,
// so the two messages it sends are declared here.
@protocol LKWorkspace <NSObject>
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
- (BOOL)openURL:(NSURL*)url;
@end

@protocol LKWorkspaceClass <NSObject>
+ (id<LKWorkspace>)sharedWorkspace;
@end

namespace lorekeep::ui::mac {

namespace {

id<LKWorkspace> workspace() {
    Class workspaceClass = NSClassFromString(@"NSWorkspace");
    return workspaceClass ? [(id<LKWorkspaceClass>)workspaceClass sharedWorkspace] : nil;
}

} // namespace

void revealInFinder(const std::string& path) {
    @autoreleasepool {
        @try {
            NSString* text = [NSString stringWithUTF8String:path.c_str()];
            if (!text)
                return;
            NSURL* url = [NSURL fileURLWithPath:text];
            [workspace() activateFileViewerSelectingURLs:@[ url ]];
        } @catch (NSException*) {
        }
    }
}

bool openAddress(const std::string& address) {
    @autoreleasepool {
        @try {
            NSString* text = [NSString stringWithUTF8String:address.c_str()];
            NSURL* url = text ? [NSURL URLWithString:text] : nil;
            return url && [workspace() openURL:url];
        } @catch (NSException*) {
            return false;
        }
    }
}

} // namespace lorekeep::ui::mac
