#import "MainAppService.h"

#import "ObjCText.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace lorekeep::app {

namespace {

ServiceError serviceErrorOf(NSError* error) {
    if (!error)
        return ServiceError{"", 0, "unknown error"};
    return ServiceError{toStdString(error.domain), static_cast<long>(error.code),
                        toStdString(error.localizedDescription)};
}

ServiceError serviceErrorOf(NSException* exception) {
    return ServiceError{toStdString(exception.name), 0, toStdString(exception.reason)};
}

} // namespace

long MainAppService::status() {
    @try {
        return static_cast<long>(SMAppService.mainAppService.status);
    } @catch (NSException*) {
        return static_cast<long>(SMAppServiceStatusNotFound);
    }
}

std::optional<ServiceError> MainAppService::registerApp() {
    @try {
        NSError* error = nil;
        if ([SMAppService.mainAppService registerAndReturnError:&error])
            return std::nullopt;
        return serviceErrorOf(error);
    } @catch (NSException* exception) {
        return serviceErrorOf(exception);
    }
}

std::optional<ServiceError> MainAppService::unregisterApp() {
    @try {
        NSError* error = nil;
        if ([SMAppService.mainAppService unregisterAndReturnError:&error])
            return std::nullopt;
        return serviceErrorOf(error);
    } @catch (NSException* exception) {
        return serviceErrorOf(exception);
    }
}

void MainAppService::openLoginItemsSettings() {
    @try {
        [SMAppService openSystemSettingsLoginItems];
    } @catch (NSException*) {
    }
}

} // namespace lorekeep::app
