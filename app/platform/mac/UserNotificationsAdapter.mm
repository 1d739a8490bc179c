#import "UserNotificationsAdapter.h"

#import "ObjCText.h"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

// Shows Lorekeep's notifications even while Lorekeep is the active application, which a menu-bar application often
// is: without a delegate the system would keep them out of sight.
@interface LKNotificationPresenter : NSObject <UNUserNotificationCenterDelegate>
@end

@implementation LKNotificationPresenter
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    (void)center;
    (void)notification;
    completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionList |
                      UNNotificationPresentationOptionSound);
}
@end

namespace lorekeep::app {

struct UserNotificationsAdapter::Impl {
    UNUserNotificationCenter* center = nil;
    LKNotificationPresenter* presenter = nil;
};

UserNotificationsAdapter::Bundle UserNotificationsAdapter::mainBundle() {
    @autoreleasepool {
        NSBundle* bundle = NSBundle.mainBundle;
        return Bundle{toStdString(bundle.bundleIdentifier), toStdString(bundle.bundlePath)};
    }
}

UserNotificationsAdapter::UserNotificationsAdapter() : m_impl(std::make_unique<Impl>()) {
    @try {
        m_impl->center = UNUserNotificationCenter.currentNotificationCenter;
        m_impl->presenter = [[LKNotificationPresenter alloc] init];
        m_impl->center.delegate = m_impl->presenter;
    } @catch (NSException* exception) {
        // Raised outside an application bundle: notifications are then simply unavailable.
        NSLog(@"Lorekeep: no notification centre: %@", exception.reason);
        m_impl->center = nil;
    }
}

UserNotificationsAdapter::~UserNotificationsAdapter() {
    @try {
        if (m_impl->center && m_impl->center.delegate == m_impl->presenter)
            m_impl->center.delegate = nil;
    } @catch (NSException*) {
    }
}

void UserNotificationsAdapter::authorizationStatus(std::function<void(long status)> done) {
    if (!m_impl->center) {
        done(UNAuthorizationStatusDenied);
        return;
    }
    @try {
        [m_impl->center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
          done(static_cast<long>(settings.authorizationStatus));
        }];
    } @catch (NSException*) {
        done(UNAuthorizationStatusDenied);
    }
}

void UserNotificationsAdapter::requestAlertsAndSound(std::function<void(bool granted)> done) {
    if (!m_impl->center) {
        done(false);
        return;
    }
    @try {
        [m_impl->center requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                                      completionHandler:^(BOOL granted, NSError* error) {
                                        (void)error;
                                        done(granted == YES);
                                      }];
    } @catch (NSException*) {
        done(false);
    }
}

void UserNotificationsAdapter::post(const std::string& identifier, const std::string& title, const std::string& body) {
    if (!m_impl->center)
        return;
    @try {
        UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
        content.title = toNSString(title);
        content.body = toNSString(body);
        content.sound = UNNotificationSound.defaultSound;
        UNNotificationRequest* request = [UNNotificationRequest requestWithIdentifier:toNSString(identifier)
                                                                              content:content
                                                                              trigger:nil];
        // Posting failures are not reported: a problem notification that cannot be shown changes nothing.
        [m_impl->center addNotificationRequest:request withCompletionHandler:nil];
    } @catch (NSException* exception) {
        NSLog(@"Lorekeep: notification not posted: %@", exception.reason);
    }
}

} // namespace lorekeep::app
