#pragma once

#include "base/StopToken.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace lorekeep::photokit {

/// One PhotoKit request whose completion handler runs on a queue of the framework's, while the engine's worker
/// thread waits for it. Held by shared_ptr: the handler's block keeps its own reference, so a handler that comes
/// after the waiter gave up finds the request alive and changes nothing that matters.
///
/// A stop requested while waiting reaches the request in flight through its cancel action (cancelDataRequest:,
/// cancelImageRequest:, cancelExport); the wait then goes on for the handler, which PhotoKit calls with a
/// cancellation error, for at most the grace period.
class PendingRequest {
public:
    enum class Outcome { completed, stopped };

    /// Called by the completion handler, on any thread; only the first call counts.
    void complete(std::optional<std::string> error = std::nullopt);
    /// What cancels the request now in flight; a request of several stages sets one per stage. Runs at once when
    /// the stop was already requested.
    void setCancel(std::function<void()> cancel);
    /// Whether the request was asked to stop: handlers that stop by a flag (a progress handler's *stop) read it.
    [[nodiscard]] bool stopping() const;

    /// Waits for complete(). Outcome::stopped when the stop token was set and the request had not completed
    /// within the grace period after its cancellation.
    [[nodiscard]] Outcome wait(const StopToken& stop, std::chrono::milliseconds poll = std::chrono::milliseconds(50),
                               std::chrono::milliseconds grace = std::chrono::seconds(10));
    /// The handler's error, once completed.
    [[nodiscard]] std::optional<std::string> error() const;

private:
    void cancelNow(std::unique_lock<std::mutex>& lock);

    mutable std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_completed = false;
    bool m_stopping = false;
    std::optional<std::string> m_error;
    std::function<void()> m_cancel;
};

} // namespace lorekeep::photokit
