#pragma once

#include "AppServices.h"
#include "FakePlatform.h"
#include "ManualScheduler.h"

#include <QCoreApplication>

#include <filesystem>
#include <functional>
#include <future>
#include <memory>

namespace lorekeep::app::test {

/// AppServices over fakes, with a handle on each fake. The settings are an INI file and the log a real folder,
/// both under the given folder; time is a ManualScheduler. The fakes belong to `services` (and, once it is
/// made, to the AppState): the pointers stay valid as long as that lives.
struct FakeServices {
    AppServices services;
    ManualScheduler* scheduler = nullptr;
    FakeNotificationCenter* notifications = nullptr;
    FakeLoginItem* loginItem = nullptr;
    FakePhotosAccess* photosAccess = nullptr;
    std::shared_ptr<FakeWatchers> watchers;
    std::shared_ptr<RecordingSystemLog> systemLog;
    std::filesystem::path settingsFile;
    std::filesystem::path logFolder;

    /// `library` is what every run reads; null: runs fail to open a library.
    explicit FakeServices(const std::filesystem::path& folder, std::shared_ptr<PhotoLibrary> library = nullptr);
};

/// Runs the Qt event loop until `done` holds or `seconds` have passed; returns whether it holds. A safety net
/// against a hang, not a measure of speed.
bool waitUntil(const std::function<bool()>& done, double seconds = 60);

/// A door the test holds shut while a worker thread waits at it.
class Gate {
public:
    void open() { m_promise.set_value(); }
    void wait() const { m_future.wait(); }

private:
    std::promise<void> m_promise;
    std::shared_future<void> m_future = m_promise.get_future().share();
};

} // namespace lorekeep::app::test
