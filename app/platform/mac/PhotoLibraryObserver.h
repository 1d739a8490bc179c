#pragma once

#include <functional>
#include <memory>

namespace lorekeep::app {

/// A change observer of the shared photo library, without Qt: registered while it exists. `onChange` runs on a
/// queue of the system's choosing.
class PhotoLibraryObserver {
public:
    explicit PhotoLibraryObserver(std::function<void()> onChange);
    ~PhotoLibraryObserver();
    PhotoLibraryObserver(const PhotoLibraryObserver&) = delete;
    PhotoLibraryObserver& operator=(const PhotoLibraryObserver&) = delete;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace lorekeep::app
