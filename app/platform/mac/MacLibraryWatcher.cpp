#include "../LibraryWatcher.h"
#include "../MainThreadCall.h"
#include "PhotoLibraryObserver.h"

#include <QObject>

namespace lorekeep::app {

namespace {

/// A PhotoKit change observer whose notices reach `onChange` on the main thread.
class MacLibraryWatcher final : public LibraryWatcher {
public:
    explicit MacLibraryWatcher(std::function<void()> onChange)
        : m_observer(onMainThread<>(&m_context, std::move(onChange))) {}

private:
    // Declared first so that it outlives the observer: a notice already on its way then finds it gone and is
    // dropped.
    QObject m_context;
    PhotoLibraryObserver m_observer;
};

} // namespace

std::unique_ptr<LibraryWatcher> makeLibraryWatcher(const QString&, std::function<void()> onChange) {
    return std::make_unique<MacLibraryWatcher>(std::move(onChange));
}

} // namespace lorekeep::app
