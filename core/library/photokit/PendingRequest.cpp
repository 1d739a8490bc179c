#include "library/photokit/PendingRequest.h"

namespace lorekeep::photokit {

void PendingRequest::complete(std::optional<std::string> error) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_completed)
            return;
        m_completed = true;
        m_error = std::move(error);
        m_cancel = nullptr;
    }
    m_done.notify_all();
}

void PendingRequest::setCancel(std::function<void()> cancel) {
    std::unique_lock lock(m_mutex);
    if (m_completed)
        return;
    m_cancel = std::move(cancel);
    if (m_stopping)
        cancelNow(lock);
}

bool PendingRequest::stopping() const {
    const std::lock_guard lock(m_mutex);
    return m_stopping;
}

// The cancel action is called without the lock: PhotoKit may call the completion handler from inside it.
void PendingRequest::cancelNow(std::unique_lock<std::mutex>& lock) {
    auto cancel = std::move(m_cancel);
    m_cancel = nullptr;
    if (!cancel)
        return;
    lock.unlock();
    cancel();
    lock.lock();
}

PendingRequest::Outcome PendingRequest::wait(const StopToken& stop, std::chrono::milliseconds poll,
                                             std::chrono::milliseconds grace) {
    std::unique_lock lock(m_mutex);
    while (!m_completed) {
        if (!m_stopping && stop.stopRequested()) {
            m_stopping = true;
            cancelNow(lock);
            if (!m_done.wait_for(lock, grace, [this] { return m_completed; }))
                return Outcome::stopped;
            break;
        }
        m_done.wait_for(lock, poll, [this] { return m_completed; });
    }
    return Outcome::completed;
}

std::optional<std::string> PendingRequest::error() const {
    const std::lock_guard lock(m_mutex);
    return m_error;
}

} // namespace lorekeep::photokit
