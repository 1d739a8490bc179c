#pragma once

#include "AppState.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

namespace lorekeep::app {

/// One job of a run, as it stood when the run began.
struct AppState::RunItem {
    BackupJob job;
    /// The resolved destination; absent when the job has none.
    std::optional<QString> destination;
    std::optional<Date> lastVerified;
    /// Verify without backing up first (the settings window's "Verify Now").
    bool verifyOnly = false;
};

/// What a destination's index says about it, read without running anything.
struct IndexFacts {
    std::optional<Date> lastVerified;
    std::optional<Date> lastSuccessfulRun;
    std::int64_t files = 0;
    std::int64_t assets = 0;
    std::int64_t bytes = 0;
};

/// The facts of the index in a destination folder, or nothing when it is absent or unreadable.
[[nodiscard]] std::optional<IndexFacts> readIndexFacts(const std::filesystem::path& root);

/// The run of a list of jobs on its worker thread: each job's backup and, when due, its verification, one after
/// another. Every outcome goes to AppState on the main thread as a queued call bound to AppState's context
/// object, which AppState turns into statuses, log lines and notifications.
class RunWorker {
public:
    struct Setup {
        std::vector<AppState::RunItem> items;
        std::filesystem::path package;
        std::function<std::shared_ptr<PhotoLibrary>(const std::filesystem::path&)> openLibrary;
        std::function<SharedFilterOutcome(const std::filesystem::path&)> sharedFilter;
        const Scheduler* scheduler = nullptr;
        std::int64_t verifyMinimum = 50;
        double verifyFraction = 0.02;
        StopToken stop;
    };

    RunWorker(AppState& state, Setup setup) : m_state(&state), m_setup(std::move(setup)) {}

    /// On the worker thread.
    void run();

private:
    /// Whether the job's backup ended so that a verification may follow.
    bool backUp(const AppState::RunItem& item, const std::filesystem::path& root);
    void verify(const AppState::RunItem& item, const std::filesystem::path& root);
    /// Runs `action` on the main thread, unless AppState is gone by then.
    void post(std::function<void(AppState&)> action) const;

    AppState* m_state;
    Setup m_setup;
    std::shared_ptr<PhotoLibrary> m_library;
    std::optional<std::string> m_libraryError;
};

} // namespace lorekeep::app
