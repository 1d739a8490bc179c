#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"
#include "Interrupt.h"

#include "AppServices.h"
#include "AppState.h"

#include <QCoreApplication>
#include <QTimer>

#include <iostream>
#include <map>

namespace lorekeep::cli {
namespace {

using app::AppState;
using app::BackupStatus;

/// The application without its windows: the real services, the user's settings and log.
class Headless {
public:
    Headless() : m_application(m_argc, m_argv) {
        app::AppServices services = app::makeAppServices();
        // Registering as a login item is the windowed application's business, not the command's.
        services.registerLoginItemOnFirstLaunch = false;
        state = std::make_unique<AppState>(std::move(services));
    }
    ~Headless() { state.reset(); }

    /// Runs the event loop until quit() is called.
    int exec() { return QCoreApplication::exec(); }
    void quit() { QCoreApplication::quit(); }

    /// Checks for Ctrl-C and SIGTERM a few times a second.
    void watch(const Interrupt& interrupt, std::function<void()> onInterrupt) {
        m_poll.setInterval(100);
        QObject::connect(&m_poll, &QTimer::timeout, [this, &interrupt, onInterrupt = std::move(onInterrupt)] {
            if (interrupt.requested() && !m_interrupted) {
                m_interrupted = true;
                onInterrupt();
            }
        });
        m_poll.start();
    }
    bool interrupted() const { return m_interrupted; }

    /// Shows the running job's progress on the console.
    void showProgress(Console& console) {
        QObject::connect(state.get(), &AppState::runtimeChanged, [this, &console](const QUuid& id) {
            if (state->runningJobID() != id)
                return;
            const BackupStatus status = state->runtime(id).status;
            const std::string name = state->job(id) ? state->job(id)->name.toStdString() + ": " : std::string();
            if (status.kind == BackupStatus::Kind::running && status.total > 0 && status.done < status.total)
                console.progress(name + "Backing up", status.done, status.total);
            else if (status.kind == BackupStatus::Kind::updatingAlbums && status.total > 0)
                console.progress(name + "Updating album folders", status.done, status.total);
            else if (status.kind == BackupStatus::Kind::verifying && status.total > 0)
                console.progress(name + "Verifying", status.done, status.total);
        });
    }

    std::unique_ptr<AppState> state;

private:
    int m_argc = 1;
    char m_name[9] = "lorekeep";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application;
    QTimer m_poll;
    bool m_interrupted = false;
};

} // namespace

int runRun(const std::string& jobKey, Console& console, const Interrupt& interrupt) {
    Headless headless;
    AppState& state = *headless.state;
    std::optional<QUuid> only;
    if (!jobKey.empty()) {
        const QString key = QString::fromStdString(jobKey);
        const QUuid id = QUuid::fromString(key);
        for (const app::BackupJob& job : state.jobs()) {
            if ((!id.isNull() && job.id == id) || job.name == key)
                only = job.id;
        }
        if (!only) {
            console.message("no job is named \"" + jobKey + "\" (lorekeep jobs list shows them)");
            return usageError;
        }
        if (!state.job(*only)->enabled) {
            console.message("the job \"" + jobKey + "\" is disabled (lorekeep jobs enable)");
            return finishedWithProblems;
        }
    }

    std::vector<QUuid> ran;
    for (const app::BackupJob& job : state.jobs()) {
        if (job.enabled && (!only || *only == job.id))
            ran.push_back(job.id);
    }
    if (ran.empty()) {
        console.message("No enabled jobs: lorekeep jobs add --name <name> --to <folder>");
        return clean;
    }
    headless.showProgress(console);
    headless.watch(interrupt, [&state] { state.stop(); });
    // A moment for a notification posted at the end to leave over the session bus before the process ends.
    QObject::connect(&state, &AppState::runFinished,
                     [&headless] { QTimer::singleShot(300, [&headless] { headless.quit(); }); });
    if (!state.backUpNow(only))
        return finishedWithProblems;
    headless.exec();
    console.endProgress();

    bool allUpToDate = true;
    for (const QUuid& id : ran) {
        std::cout << state.job(id)->name.toStdString() << ": " << state.statusText(id).toStdString() << "\n";
        allUpToDate = allUpToDate && state.runtime(id).status.kind == BackupStatus::Kind::upToDate;
    }
    if (headless.interrupted())
        return interrupted;
    return allUpToDate ? clean : finishedWithProblems;
}

int runAgent(Console& console, const Interrupt& interrupt) {
    Headless headless;
    AppState& state = *headless.state;
    if (!state.autoBackup())
        console.message("note: automatic backups are switched off; the agent waits without running");
    headless.watch(interrupt, [&] {
        // The running job winds down and saves what it did before the agent ends.
        if (state.stop()) {
            console.message("stopping after the running job is saved");
            QObject::connect(&state, &AppState::runStopped, [&headless] { headless.quit(); });
        } else {
            headless.quit();
        }
    });
    std::map<QUuid, BackupStatus> told;
    QObject::connect(&state, &AppState::runtimeChanged, [&](const QUuid& id) {
        const BackupStatus status = state.runtime(id).status;
        if ((status.kind == BackupStatus::Kind::upToDate || status.isProblem()) && told[id] != status) {
            told[id] = status;
            console.message(state.job(id)->name.toStdString() + ": " + state.statusText(id).toStdString());
        }
    });
    state.start();
    console.message("lorekeep agent: " + std::to_string(state.jobs().size()) + " jobs, library " +
                    state.libraryPath().toStdString());
    headless.exec();
    return clean;
}

} // namespace lorekeep::cli
