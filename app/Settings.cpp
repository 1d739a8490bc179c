#include "Settings.h"

#include "base/Json.h"

#include <QDateTime>
#include <QVariantMap>

#include <cmath>

namespace lorekeep::app {
namespace {

constexpr const char* jobsKey = "backupJobs";
constexpr const char* autoBackupKey = "autoBackupEnabled";
constexpr const char* notifyKey = "notifyOnProblems";
constexpr const char* onboardingKey = "onboardingDone";
constexpr const char* loginItemKey = "didRegisterLoginItemOnFirstLaunch";
constexpr const char* unavailableKey = "destinationUnavailableSince";
constexpr const char* notifiedKey = "destinationOutageNotified";
constexpr const char* libraryPathKey = "libraryPath";
constexpr const char* olderPathKey = "destinationPath";
constexpr const char* olderBookmarkKey = "destinationBookmark";

std::unique_ptr<QSettings> userSettings() {
#ifdef __APPLE__
    // The organisation reads as a domain, so the store is the application's defaults domain.
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, "lorekeep.org", "Lorekeep");
#else
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, "lorekeep", "lorekeep");
#endif
}

} // namespace

Settings::Settings() : m_store(userSettings()) {}

Settings::Settings(std::unique_ptr<QSettings> store) : m_store(std::move(store)) {}

Settings::~Settings() = default;

std::vector<BackupJob> Settings::loadJobs() {
    if (m_store->contains(jobsKey)) {
        try {
            return decodeJobs(m_store->value(jobsKey).toByteArray());
        } catch (const JsonError&) {
            // Unreadable jobs are treated as none rather than stopping the application.
            return {};
        }
    }
    const QString olderPath = m_store->value(olderPathKey).toString();
    const QByteArray olderBookmark = m_store->value(olderBookmarkKey).toByteArray();
    if (olderPath.isEmpty() && olderBookmark.isEmpty())
        return {};
    BackupJob job = BackupJob::make("Backup");
    if (!olderPath.isEmpty())
        job.destinationPath = olderPath;
    if (!olderBookmark.isEmpty())
        job.destinationBookmark = olderBookmark;
    std::vector<BackupJob> jobs{job};
    saveJobs(jobs);
    return jobs;
}

void Settings::saveJobs(const std::vector<BackupJob>& jobs) {
    m_store->setValue(jobsKey, encodeJobs(jobs));
}

bool Settings::autoBackup() const {
    return m_store->value(autoBackupKey, true).toBool();
}

void Settings::setAutoBackup(bool on) {
    m_store->setValue(autoBackupKey, on);
}

bool Settings::notifyOnProblems() const {
    return m_store->value(notifyKey, true).toBool();
}

void Settings::setNotifyOnProblems(bool on) {
    m_store->setValue(notifyKey, on);
}

bool Settings::onboardingDone() const {
    return m_store->value(onboardingKey, false).toBool();
}

void Settings::setOnboardingDone(bool done) {
    m_store->setValue(onboardingKey, done);
}

bool Settings::didRegisterLoginItem() const {
    return m_store->value(loginItemKey, false).toBool();
}

void Settings::setDidRegisterLoginItem(bool done) {
    m_store->setValue(loginItemKey, done);
}

std::optional<QString> Settings::libraryPath() const {
    const QString path = m_store->value(libraryPathKey).toString();
    if (path.isEmpty())
        return std::nullopt;
    return path;
}

void Settings::setLibraryPath(const std::optional<QString>& path) {
    if (path && !path->isEmpty())
        m_store->setValue(libraryPathKey, *path);
    else
        m_store->remove(libraryPathKey);
}

std::optional<Date> Settings::unavailableSince(const QUuid& job) const {
    const QVariantMap since = m_store->value(unavailableKey).toMap();
    const auto found = since.find(idText(job));
    if (found == since.end())
        return std::nullopt;
    return Date::fromUnixSeconds(found->toDouble());
}

double Settings::recordOutage(const QUuid& job, Date now) {
    QVariantMap since = m_store->value(unavailableKey).toMap();
    const QString key = idText(job);
    if (!since.contains(key)) {
        since.insert(key, now.unixSeconds());
        m_store->setValue(unavailableKey, since);
    }
    return now.unixSeconds() - since.value(key).toDouble();
}

bool Settings::outageNotified(const QUuid& job) const {
    return m_store->value(notifiedKey).toStringList().contains(idText(job));
}

void Settings::setOutageNotified(const QUuid& job) {
    QStringList notified = m_store->value(notifiedKey).toStringList();
    if (!notified.contains(idText(job))) {
        notified.append(idText(job));
        m_store->setValue(notifiedKey, notified);
    }
}

void Settings::clearOutage(const QUuid& job) {
    const QString key = idText(job);
    QVariantMap since = m_store->value(unavailableKey).toMap();
    if (since.remove(key) > 0)
        m_store->setValue(unavailableKey, since);
    QStringList notified = m_store->value(notifiedKey).toStringList();
    if (notified.removeAll(key) > 0)
        m_store->setValue(notifiedKey, notified);
}

void Settings::sync() {
    m_store->sync();
}

std::optional<QString> destinationURL(const BackupJob& job,
                                      const std::function<std::optional<QString>(const QByteArray&)>& resolveBookmark) {
    if (job.destinationBookmark && resolveBookmark) {
        if (std::optional<QString> path = resolveBookmark(*job.destinationBookmark))
            return path;
    }
    if (job.destinationPath && !job.destinationPath->isEmpty())
        return job.destinationPath;
    return std::nullopt;
}

QString abbreviatedDate(Date date, const QLocale& locale) {
    // Qt's short formats are numeric ("01/03/2024"); the abbreviated style is the long format without the
    // weekday and with the month's short name: "dddd, d MMMM yyyy" becomes "d MMM yyyy".
    QString format = locale.dateFormat(QLocale::LongFormat);
    const qsizetype weekday = format.indexOf(QLatin1String("dddd"));
    if (weekday >= 0) {
        qsizetype end = weekday + 4;
        while (end < format.size() && !format[end].isLetter() && format[end] != QLatin1Char('\''))
            ++end;
        format.remove(weekday, end - weekday);
    }
    format.replace(QLatin1String("MMMM"), QLatin1String("MMM"));
    const QDate day = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(date.unixSeconds()))).date();
    return locale.toString(day, format.trimmed());
}

QString abbreviatedDateTime(Date date, const QLocale& locale) {
    const QTime time = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(date.unixSeconds()))).time();
    return abbreviatedDate(date, locale) + QLatin1String(", ") + locale.toString(time, QLocale::ShortFormat);
}

QString summary(const BackupJob& job, const QLocale& locale) {
    const BackupScope& scope = job.scope;
    QStringList parts;
    if (scope.albumIDs)
        parts << QString::number(scope.albumIDs->size()) + QLatin1String(" albums");
    else
        parts << QStringLiteral("Whole library");
    if (scope.includePhotos && !scope.includeVideos)
        parts << QStringLiteral("photos only");
    else if (scope.includeVideos && !scope.includePhotos)
        parts << QStringLiteral("videos only");
    if (scope.startDate)
        parts << QLatin1String("from ") + abbreviatedDate(*scope.startDate, locale);
    if (scope.includeSharedLibrary)
        parts << QStringLiteral("with Shared Library");
    return parts.join(QLatin1String(", "));
}

} // namespace lorekeep::app
