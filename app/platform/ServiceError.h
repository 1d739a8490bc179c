#pragma once

#include <string>

namespace lorekeep::app {

/// An error of a system service as it reported it (macOS: an NSError's domain, code and description).
struct ServiceError {
    std::string domain;
    long code = 0;
    std::string description;

    friend bool operator==(const ServiceError&, const ServiceError&) = default;
};

} // namespace lorekeep::app
