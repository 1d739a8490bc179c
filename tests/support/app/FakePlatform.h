#pragma once

#include "platform/LibraryWatcher.h"
#include "platform/LoginItem.h"
#include "platform/NotificationCenter.h"
#include "platform/PhotosAccess.h"
#include "platform/SystemLog.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lorekeep::app::test {

/// Records what was posted; answers permission questions with what the test set. Replacing by identifier is
/// kept as the system does it: `shown()` holds one notification per identifier.
class FakeNotificationCenter final : public NotificationCenter {
public:
    struct Posted {
        QString identifier;
        QString title;
        QString body;
        friend bool operator==(const Posted&, const Posted&) = default;
    };

    Permission currentPermission = Permission::allowed;
    /// What requestPermission answers.
    bool grant = true;
    /// Every post, in order.
    std::vector<Posted> posts;

    void permission(std::function<void(Permission)> done) override { done(currentPermission); }
    void requestPermission(std::function<void(bool)> done) override {
        currentPermission = grant ? Permission::allowed : Permission::denied;
        done(grant);
    }
    void post(const QString& identifier, const QString& title, const QString& body) override {
        posts.push_back({identifier, title, body});
    }
    /// The notifications on screen: the last post of each identifier, in the order they first appeared.
    [[nodiscard]] std::vector<Posted> shown() const;
};

/// A login item whose registration the test decides.
class FakeLoginItem final : public LoginItem {
public:
    Status state = Status::notRegistered;
    /// The status a successful registration leads to (requires approval, for example).
    Status afterRegister = Status::enabled;
    std::optional<QString> failure;
    int registrations = 0;

    [[nodiscard]] Status status() const override { return state; }
    std::optional<QString> registerItem() override;
    std::optional<QString> unregisterItem() override;
};

class FakePhotosAccess final : public PhotosAccess {
public:
    PhotosAuthorization current = PhotosAuthorization::authorized;
    /// What a request answers when the status is not determined.
    PhotosAuthorization answer = PhotosAuthorization::authorized;

    [[nodiscard]] PhotosAuthorization status() const override { return current; }
    void request(std::function<void(PhotosAuthorization)> done) override;
};

/// Hands out watchers and lets the test fire the library's change notice through the ones alive.
class FakeWatchers {
public:
    std::unique_ptr<LibraryWatcher> make(const QString& package, std::function<void()> onChange);
    /// Calls every live watcher's callback, as a change of the library would.
    void changeLibrary();
    [[nodiscard]] int alive() const;
    [[nodiscard]] QString lastPackage() const { return m_lastPackage; }

private:
    class Watcher;
    std::shared_ptr<std::vector<Watcher*>> m_watchers = std::make_shared<std::vector<Watcher*>>();
    QString m_lastPackage;
};

/// Keeps the system-log copies.
class RecordingSystemLog final : public SystemLog {
public:
    std::vector<std::pair<Type, QString>> lines;
    void write(Type type, const QString& message) override { lines.emplace_back(type, message); }
};

} // namespace lorekeep::app::test
