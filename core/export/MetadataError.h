#pragma once

#include <stdexcept>
#include <string>

namespace lorekeep {

/// Metadata could not be built or written; what() is the text reported to the user.
class MetadataError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace lorekeep
