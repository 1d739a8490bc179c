#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace lorekeep::app {

/// Tells when the Photos library changed. It looks at nothing in the change: `onChange` is all it says, always
/// on the main thread. Watching starts when it is made and ends when it is destroyed.
class LibraryWatcher {
public:
    virtual ~LibraryWatcher() = default;
};

/// Makes the watcher of the platform. macOS: a PHPhotoLibrary change observer (the package path is not used);
/// Linux: a file-system watch of the package's database files that survives the files being replaced.
[[nodiscard]] std::unique_ptr<LibraryWatcher> makeLibraryWatcher(const QString& packagePath,
                                                                 std::function<void()> onChange);

} // namespace lorekeep::app
