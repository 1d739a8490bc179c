#include "MainThreadCall.h"

#include <QCoreApplication>

namespace lorekeep::app {

void detail::queueOnMainThread(const QPointer<QObject>& context, std::function<void()> call) {
    // Queued through the application object, which outlives every context. Other threads only copy the guard;
    // it is read on the main thread, where contexts are destroyed.
    QObject* application = QCoreApplication::instance();
    if (!application)
        return;
    QMetaObject::invokeMethod(
        application,
        [context, call = std::move(call)] {
            if (context)
                call();
        },
        Qt::QueuedConnection);
}

} // namespace lorekeep::app
