#pragma once

#include "base/StopToken.h"

namespace lorekeep::cli {

/// Turns Ctrl-C (SIGINT) and SIGTERM into a stop request, so that a run winds down and saves what it did. A second
/// Ctrl-C ends the process at once.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    StopToken token() const;
    bool requested() const;
};

} // namespace lorekeep::cli
