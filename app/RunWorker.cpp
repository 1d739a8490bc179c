#include "RunWorker.h"

#include "destination/Preflight.h"
#include "index/BackupIndex.h"
#include "run/BackupError.h"
#include "run/BackupRunner.h"
#include "verify/Verifier.h"

#include <QMetaObject>

#include <chrono>
#include <cmath>

namespace lorekeep::app {
namespace {

const QString destinationAway = QStringLiteral("destination not available. Mount it and the next run picks up.");

QString text(const std::exception& error) {
    return QString::fromStdString(error.what());
}

} // namespace

std::optional<IndexFacts> readIndexFacts(const std::filesystem::path& root) {
    std::error_code error;
    if (!std::filesystem::exists(BackupIndex::location(root), error))
        return std::nullopt;
    try {
        const BackupIndex index = BackupIndex::load(root);
        return IndexFacts{index.lastVerified, index.lastSuccessfulRun, static_cast<std::int64_t>(index.fileCount()),
                          static_cast<std::int64_t>(index.assets.size()), index.byteTotal()};
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void RunWorker::post(std::function<void(AppState&)> action) const {
    AppState* state = m_state;
    QMetaObject::invokeMethod(
        &state->m_context, [state, action = std::move(action)] { action(*state); }, Qt::QueuedConnection);
}

void RunWorker::run() {
    for (const AppState::RunItem& item : m_setup.items) {
        if (m_setup.stop.stopRequested())
            break;
        const QUuid id = item.job.id;
        if (!item.destination) {
            post([id](AppState& state) {
                JobRuntime runtime = state.runtime(id);
                runtime.status = BackupStatus::failed(QStringLiteral("no destination set"));
                state.setRuntime(id, runtime);
            });
            continue;
        }
        const std::filesystem::path root = item.destination->toStdString();
        AppState::RunItem current = item;
        // After a restart the index remembers the last verification, so that it is not done again at once.
        if (!current.lastVerified) {
            if (std::optional<IndexFacts> facts = readIndexFacts(root)) {
                current.lastVerified = facts->lastVerified;
                post([id, facts = *facts](AppState& state) { state.seed(id, facts); });
            }
        }
        if (!current.verifyOnly) {
            if (!backUp(current, root))
                continue;
            JobRuntime known;
            known.lastVerified = current.lastVerified;
            if (!verifyDue(known, m_setup.scheduler->now()))
                continue;
        }
        if (m_setup.stop.stopRequested())
            break;
        verify(current, root);
    }
    post([](AppState& state) { state.finishRun(); });
}

bool RunWorker::backUp(const AppState::RunItem& item, const std::filesystem::path& root) {
    const QUuid id = item.job.id;
    const QString name = item.job.name;
    const QString destination = *item.destination;
    post([id, name, destination](AppState& state) {
        state.setRunningJob(id);
        JobRuntime runtime = state.runtime(id);
        runtime.status = BackupStatus::running();
        runtime.progress = {};
        state.setRuntime(id, runtime);
        state.m_services.log->info(name + QLatin1String(": backup started to ") + destination);
    });

    const auto failed = [&](const QString& error) {
        post([id, name, error](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            runtime.status = BackupStatus::failed(error);
            state.setRuntime(id, runtime);
            state.m_services.log->error(name + QLatin1String(": backup failed: ") + error);
            state.m_notifier->post(Notifier::backupFailed(name, idText(id), error));
        });
    };
    const auto missing = [&](const QString& error) {
        post([id, name, error](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            runtime.status = BackupStatus::paused(destinationAway);
            state.setRuntime(id, runtime);
            Settings& settings = *state.m_services.settings;
            const Date now = state.m_services.scheduler->now();
            const double away = settings.recordOutage(id, now);
            state.m_services.log->warn(name + QString(": destination not available (%1), away %2 h")
                                                  .arg(error)
                                                  .arg(static_cast<qlonglong>(std::trunc(away / 3600))));
            if (away >= AppState::outageNotifyAfter && !settings.outageNotified(id)) {
                settings.setOutageNotified(id);
                const QString since = abbreviatedDateTime(now.addingSeconds(-away), state.m_services.locale);
                state.m_notifier->post(Notifier::outage(name, idText(id), since));
            }
        });
    };
    const auto backupError = [&](const BackupError& error) {
        if (error.kind() == BackupError::Kind::destinationMissing)
            missing(text(error));
        else
            failed(text(error));
    };

    if (!m_library && !m_libraryError) {
        try {
            if (!m_setup.openLibrary)
                throw std::runtime_error("no Photos library");
            m_library = m_setup.openLibrary(m_setup.package);
        } catch (const std::exception& error) {
            m_libraryError = std::string("cannot read the Photos library: ") + error.what();
        }
    }
    if (m_libraryError) {
        // A missing destination still only pauses the job, whatever the library says.
        try {
            Preflight::check(root);
            failed(QString::fromStdString(*m_libraryError));
        } catch (const BackupError& error) {
            backupError(error);
        } catch (const std::exception& error) {
            failed(text(error));
        }
        return false;
    }

    BackupRunner::SharedFilterSource sharedFilter = BackupRunner::defaultSharedFilter();
    if (m_setup.sharedFilter)
        sharedFilter = [filter = m_setup.sharedFilter, package = m_setup.package] { return filter(package); };
    const Scheduler* scheduler = m_setup.scheduler;
    BackupRunner runner(*m_library, std::move(sharedFilter), [scheduler] { return scheduler->now(); });

    using Steady = std::chrono::steady_clock;
    const Steady::time_point started = Steady::now();
    Steady::time_point lastPost{};
    bool lastAlbums = false;
    const auto progress = [&](const BackupProgress& p) {
        // The runner reports every asset; the main thread needs a few updates a second, and every change of phase.
        const Steady::time_point now = Steady::now();
        if (now - lastPost < std::chrono::milliseconds(100) && p.updatingAlbums == lastAlbums && p.done != p.total)
            return;
        lastPost = now;
        lastAlbums = p.updatingAlbums;
        post([id, p](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            runtime.progress = p;
            runtime.status = p.updatingAlbums ? BackupStatus::updatingAlbums(p.albumDone, p.albumTotal)
                                              : BackupStatus::running(p.done, p.total);
            state.setRuntime(id, runtime);
        });
    };

    try {
        const BackupSummary summary = runner.run(item.job.scope, root, progress, m_setup.stop);
        const double seconds = std::chrono::duration<double>(Steady::now() - started).count();
        post([id, name, summary, seconds](AppState& state) {
            state.m_services.settings->clearOutage(id);
            JobRuntime runtime = state.runtime(id);
            const StatusReport report =
                applySummary(runtime, name, idText(id), summary, seconds, state.m_services.locale);
            state.setRuntime(id, runtime);
            state.report(report);
        });
        return !statusAfter(summary).isProblem();
    } catch (const BackupError& error) {
        backupError(error);
    } catch (const std::exception& error) {
        failed(text(error));
    }
    return false;
}

void RunWorker::verify(const AppState::RunItem& item, const std::filesystem::path& root) {
    const QUuid id = item.job.id;
    const QString name = item.job.name;
    post([id](AppState& state) {
        state.setRunningJob(id);
        JobRuntime runtime = state.runtime(id);
        state.m_statusBeforeVerify[id] = runtime.status;
        runtime.status = BackupStatus::verifying();
        runtime.verifyProgress = {};
        state.setRuntime(id, runtime);
    });
    const auto restoreStatus = [](AppState& state, const QUuid& id, JobRuntime& runtime) {
        const auto before = state.m_statusBeforeVerify.find(id);
        if (before != state.m_statusBeforeVerify.end()) {
            runtime.status = before->second;
            state.m_statusBeforeVerify.erase(before);
        }
    };

    const Scheduler* scheduler = m_setup.scheduler;
    const Verifier verifier([scheduler] { return scheduler->now(); });
    using Steady = std::chrono::steady_clock;
    Steady::time_point lastPost{};
    const auto progress = [&](const VerifyProgress& p) {
        const Steady::time_point now = Steady::now();
        if (now - lastPost < std::chrono::milliseconds(100) && p.done != p.total && p.done != 0)
            return;
        lastPost = now;
        post([id, p](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            runtime.verifyProgress = p;
            runtime.status = BackupStatus::verifying(p.done, p.total);
            state.setRuntime(id, runtime);
        });
    };
    try {
        const VerifyResult result =
            verifier.verify(root, m_setup.verifyMinimum, m_setup.verifyFraction, progress, m_setup.stop);
        post([id, name, result, restoreStatus](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            restoreStatus(state, id, runtime);
            if (!result.cancelled)
                state.report(applyVerifyResult(runtime, name, idText(id), result, state.m_services.scheduler->now()));
            state.setRuntime(id, runtime);
        });
    } catch (const BackupError& error) {
        const bool away = error.kind() == BackupError::Kind::destinationMissing;
        const QString message = text(error);
        post([id, name, away, message, restoreStatus](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            restoreStatus(state, id, runtime);
            if (away) {
                runtime.status = BackupStatus::paused(QStringLiteral("destination not available for verify"));
            } else {
                runtime.status = BackupStatus::failed(QLatin1String("verify: ") + message);
                state.m_services.log->error(name + QLatin1String(": verify failed: ") + message);
            }
            state.setRuntime(id, runtime);
        });
    } catch (const std::exception& error) {
        const QString message = text(error);
        post([id, name, message, restoreStatus](AppState& state) {
            JobRuntime runtime = state.runtime(id);
            restoreStatus(state, id, runtime);
            runtime.status = BackupStatus::failed(QLatin1String("verify: ") + message);
            state.m_services.log->error(name + QLatin1String(": verify failed: ") + message);
            state.setRuntime(id, runtime);
        });
    }
}

} // namespace lorekeep::app
