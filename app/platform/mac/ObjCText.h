#pragma once

// Text between C++ and Foundation, for the Objective-C++ adapters only.
#ifdef __OBJC__
#import <Foundation/Foundation.h>

#include <string>

namespace lorekeep::app {

inline NSString* toNSString(const std::string& text) {
    // Invalid UTF-8 would give nil, which Foundation's setters reject.
    NSString* result = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
    return result ? result : @"";
}

inline std::string toStdString(NSString* text) {
    const char* utf8 = text.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
}

} // namespace lorekeep::app
#endif
