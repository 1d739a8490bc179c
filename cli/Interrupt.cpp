#include "Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace lorekeep::cli {
namespace {

// Signal handlers may only touch lock-free atomics and call async-signal-safe functions: the handler writes a
// byte into a pipe, and a watcher thread turns that into the stop request. (A pipe rather than an unnamed
// semaphore, which macOS does not implement.)
std::atomic<int> signalCount{0};
int wakeupPipe[2] = {-1, -1};
StopSource stopSource;
std::thread watcher;

extern "C" void onSignal(int) {
    if (signalCount.fetch_add(1) >= 1)
        ::_exit(130);
    const char byte = 's';
    [[maybe_unused]] const auto written = ::write(wakeupPipe[1], &byte, 1);
}

} // namespace

Interrupt::Interrupt() {
    if (::pipe(wakeupPipe) == 0) {
        ::fcntl(wakeupPipe[0], F_SETFD, FD_CLOEXEC);
        ::fcntl(wakeupPipe[1], F_SETFD, FD_CLOEXEC);
    }
    watcher = std::thread([] {
        char byte = 0;
        for (;;) {
            const auto got = ::read(wakeupPipe[0], &byte, 1);
            if (got < 0 && errno == EINTR)
                continue;
            // 'q' is the destructor's own wake-up; anything else comes from a signal.
            if (got <= 0 || byte == 'q')
                return;
            stopSource.requestStop();
        }
    });
    struct sigaction action {};
    action.sa_handler = &onSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    const char quit = 'q';
    [[maybe_unused]] const auto written = ::write(wakeupPipe[1], &quit, 1);
    watcher.join();
    ::close(wakeupPipe[0]);
    ::close(wakeupPipe[1]);
}

StopToken Interrupt::token() const {
    return stopSource.token();
}

bool Interrupt::requested() const {
    return stopSource.stopRequested();
}

} // namespace lorekeep::cli
