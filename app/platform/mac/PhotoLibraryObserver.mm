#import "PhotoLibraryObserver.h"

#import <Foundation/Foundation.h>
#import <Photos/Photos.h>

@interface LKPhotoLibraryObserver : NSObject <PHPhotoLibraryChangeObserver>
- (instancetype)initWithHandler:(std::function<void()>)handler;
@end

@implementation LKPhotoLibraryObserver {
    std::function<void()> _handler;
}

- (instancetype)initWithHandler:(std::function<void()>)handler {
    if ((self = [super init]))
        _handler = std::move(handler);
    return self;
}

- (void)photoLibraryDidChange:(PHChange*)changeInstance {
    // What changed is read later, by the run that the change schedules.
    (void)changeInstance;
    _handler();
}
@end

namespace lorekeep::app {

struct PhotoLibraryObserver::Impl {
    // Held strongly here: the library keeps only a weak reference to its observers.
    LKPhotoLibraryObserver* observer = nil;
};

PhotoLibraryObserver::PhotoLibraryObserver(std::function<void()> onChange) : m_impl(std::make_unique<Impl>()) {
    m_impl->observer = [[LKPhotoLibraryObserver alloc] initWithHandler:std::move(onChange)];
    @try {
        [PHPhotoLibrary.sharedPhotoLibrary registerChangeObserver:m_impl->observer];
    } @catch (NSException* exception) {
        NSLog(@"Lorekeep: Photos changes are not observed: %@", exception.reason);
        m_impl->observer = nil;
    }
}

PhotoLibraryObserver::~PhotoLibraryObserver() {
    if (!m_impl->observer)
        return;
    @try {
        [PHPhotoLibrary.sharedPhotoLibrary unregisterChangeObserver:m_impl->observer];
    } @catch (NSException*) {
    }
}

} // namespace lorekeep::app
