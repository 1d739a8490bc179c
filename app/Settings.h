#pragma once

#include "BackupJob.h"

#include "base/Date.h"

#include <QLocale>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace lorekeep::app {

/// The application's stored jobs and switches. Linux: the native format in the XDG config folder
/// ("lorekeep/lorekeep.conf"); macOS: the application's defaults domain. Main thread only.
class Settings {
public:
    /// Over the user's own settings.
    Settings();
    /// Over the given store (tests pass an INI file in a temporary folder).
    explicit Settings(std::unique_ptr<QSettings> store);
    ~Settings();

    /// The stored jobs in their order. Without "backupJobs", one job "Backup" is made (and stored) from the older
    /// single-destination keys when they hold a value; otherwise there are none.
    [[nodiscard]] std::vector<BackupJob> loadJobs();
    void saveJobs(const std::vector<BackupJob>& jobs);

    /// "autoBackupEnabled", on when absent.
    [[nodiscard]] bool autoBackup() const;
    void setAutoBackup(bool on);
    /// "notifyOnProblems", on when absent.
    [[nodiscard]] bool notifyOnProblems() const;
    void setNotifyOnProblems(bool on);
    /// "onboardingDone", off when absent.
    [[nodiscard]] bool onboardingDone() const;
    void setOnboardingDone(bool done);
    /// "didRegisterLoginItemOnFirstLaunch", off when absent.
    [[nodiscard]] bool didRegisterLoginItem() const;
    void setDidRegisterLoginItem(bool done);

    /// "libraryPath": the Photos library package the jobs read (Linux), or absent for the usual location.
    [[nodiscard]] std::optional<QString> libraryPath() const;
    void setLibraryPath(const std::optional<QString>& path);

    /// "destinationUnavailableSince": when each job's destination was first found missing.
    [[nodiscard]] std::optional<Date> unavailableSince(const QUuid& job) const;
    /// Stores `now` as the outage start unless one is stored; returns the seconds since the stored start.
    double recordOutage(const QUuid& job, Date now);
    /// "destinationOutageNotified": the outage notification of this outage was sent.
    [[nodiscard]] bool outageNotified(const QUuid& job) const;
    void setOutageNotified(const QUuid& job);
    /// Forgets the job's outage (both keys), so that the next one is counted from zero.
    void clearOutage(const QUuid& job);

    /// Writes pending changes to disk.
    void sync();

private:
    std::unique_ptr<QSettings> m_store;
};

/// The destination folder of a job: its bookmark resolved when there is one and it resolves, else its path.
/// `resolveBookmark` gives the path of bookmark data, or nothing.
[[nodiscard]] std::optional<QString>
destinationURL(const BackupJob& job,
               const std::function<std::optional<QString>(const QByteArray&)>& resolveBookmark = {});

/// One line describing a job's scope: "3 albums, photos only, from 1 Mar 2024, with Shared Library".
[[nodiscard]] QString summary(const BackupJob& job, const QLocale& locale = QLocale());

/// A day in the locale's abbreviated date style: "1 Mar 2024" (en_GB), "Mar 1, 2024" (en_US).
[[nodiscard]] QString abbreviatedDate(Date date, const QLocale& locale = QLocale());
/// A moment as its abbreviated date and the locale's short time.
[[nodiscard]] QString abbreviatedDateTime(Date date, const QLocale& locale = QLocale());

} // namespace lorekeep::app
