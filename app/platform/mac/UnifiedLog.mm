#import "UnifiedLog.h"

#import <Foundation/Foundation.h>

#include <os/log.h>

namespace lorekeep::app {

struct UnifiedLog::Impl {
    os_log_t log = nil;
};

UnifiedLog::UnifiedLog() : m_impl(std::make_unique<Impl>()) {
    @autoreleasepool {
        NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
        // A bare executable (the command-line tool, a test) has no bundle identifier: its own name stands in.
        m_impl->log = os_log_create(identifier ? identifier.UTF8String : "lorekeep", "backup");
    }
}

UnifiedLog::~UnifiedLog() = default;

void UnifiedLog::info(const std::string& message) {
    os_log_with_type(m_impl->log, OS_LOG_TYPE_INFO, "%{public}s", message.c_str());
}

void UnifiedLog::error(const std::string& message) {
    os_log_with_type(m_impl->log, OS_LOG_TYPE_ERROR, "%{public}s", message.c_str());
}

} // namespace lorekeep::app
