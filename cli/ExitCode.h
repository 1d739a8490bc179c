#pragma once

namespace lorekeep::cli {

/// What `lorekeep` returns to the shell.
enum ExitCode : int {
    /// Everything was done and nothing failed.
    clean = 0,
    /// The command finished, but items failed, errors were reported or verification found problems.
    finishedWithProblems = 1,
    /// The command line was wrong.
    usageError = 2,
    /// A precondition failed: the destination is missing or not writable, the library cannot be read.
    preconditionFailed = 3,
    /// Stopped by Ctrl-C; what was done is saved.
    interrupted = 130,
};

} // namespace lorekeep::cli
