#include "Interrupt.h"

#include <atomic>
#include <csignal>
#include <semaphore.h>
#include <thread>
#include <unistd.h>

namespace lorekeep::cli {
namespace {

// Signal handlers may only touch lock-free atomics and call async-signal-safe functions: the handler posts a
// semaphore, and a watcher thread turns that into the stop request.
std::atomic<int> signalCount{0};
sem_t wakeup;
std::stop_source stopSource;
std::jthread watcher;

extern "C" void onSignal(int) {
    if (signalCount.fetch_add(1) >= 1)
        ::_exit(130);
    ::sem_post(&wakeup);
}

} // namespace

Interrupt::Interrupt() {
    ::sem_init(&wakeup, 0, 0);
    watcher = std::jthread([](std::stop_token own) {
        while (!own.stop_requested()) {
            if (::sem_wait(&wakeup) == 0 && signalCount.load() > 0 && !own.stop_requested())
                stopSource.request_stop();
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
    watcher.request_stop();
    ::sem_post(&wakeup);
    watcher.join();
    ::sem_destroy(&wakeup);
}

std::stop_token Interrupt::token() const {
    return stopSource.get_token();
}

bool Interrupt::requested() const {
    return stopSource.stop_requested();
}

} // namespace lorekeep::cli
