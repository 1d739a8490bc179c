#include "library/SharedFilterState.h"

namespace lorekeep {

SharedFilterState SharedFilterState::active(std::int64_t excluding, bool mayMissRecentChanges) {
    SharedFilterState state;
    state.kind = Kind::active;
    state.excluding = excluding;
    state.mayMissRecentChanges = mayMissRecentChanges;
    return state;
}

SharedFilterState SharedFilterState::unavailable(std::string message) {
    SharedFilterState state;
    state.kind = Kind::unavailable;
    state.message = std::move(message);
    return state;
}

SharedFilterState SharedFilterState::needsAccess() {
    SharedFilterState state;
    state.kind = Kind::needsAccess;
    return state;
}

std::string SharedFilterState::text() const {
    switch (kind) {
    case Kind::active: {
        std::string text = "Shared Library filter active: " + std::to_string(excluding) +
                           (excluding == 1 ? " item excluded" : " items excluded");
        if (mayMissRecentChanges)
            text += " (the Photos database was read without its write-ahead log, so recent changes may be missing)";
        return text;
    }
    case Kind::unavailable:
        return "Shared Library filter unavailable: " + message;
    case Kind::included:
        return "Shared Library included";
    case Kind::needsAccess:
        return "Shared Library filter needs Full Disk Access";
    }
    return {};
}

} // namespace lorekeep
