#pragma once

#include <QObject>
#include <QPointer>

#include <functional>
#include <type_traits>

namespace lorekeep::app {

namespace detail {
void queueOnMainThread(const QPointer<QObject>& context, std::function<void()> call);
}

/// Wraps `call` into a function that any thread may call: each call runs `call` later on the main thread, unless
/// `context` has been destroyed by then. For completion handlers of system frameworks, which come on threads of
/// their own and may come after the object that asked is gone. Wrap on the main thread.
template <typename... Args>
[[nodiscard]] std::function<void(Args...)> onMainThread(QObject* context,
                                                        std::type_identity_t<std::function<void(Args...)>> call) {
    return [guard = QPointer<QObject>(context), call = std::move(call)](Args... args) {
        detail::queueOnMainThread(guard, [call, args...] { call(args...); });
    };
}

} // namespace lorekeep::app
