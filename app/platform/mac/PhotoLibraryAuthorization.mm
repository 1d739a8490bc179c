#import "PhotoLibraryAuthorization.h"

#import <Foundation/Foundation.h>
#import <Photos/Photos.h>

namespace lorekeep::app {

long PhotoLibraryAuthorization::readWriteStatus() {
    @try {
        return static_cast<long>([PHPhotoLibrary authorizationStatusForAccessLevel:PHAccessLevelReadWrite]);
    } @catch (NSException*) {
        return static_cast<long>(PHAuthorizationStatusDenied);
    }
}

void PhotoLibraryAuthorization::requestReadWrite(std::function<void(long status)> done) {
    @try {
        [PHPhotoLibrary requestAuthorizationForAccessLevel:PHAccessLevelReadWrite
                                                   handler:^(PHAuthorizationStatus status) {
                                                     done(static_cast<long>(status));
                                                   }];
    } @catch (NSException*) {
        done(static_cast<long>(PHAuthorizationStatusDenied));
    }
}

} // namespace lorekeep::app
