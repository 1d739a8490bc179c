#pragma once

#include <QString>

#include <memory>

namespace lorekeep::ui {

/// The application's own updater, where the build has one. Where it has none, it says where updates come from
/// instead (on Linux: the package manager).
class Updater {
public:
    virtual ~Updater() = default;

    /// Whether this build can look for updates by itself.
    [[nodiscard]] virtual bool canCheck() const = 0;
    /// Looks for an update now and tells the user the outcome.
    virtual void checkNow() = 0;
    [[nodiscard]] virtual bool automaticChecks() const = 0;
    virtual void setAutomaticChecks(bool on) = 0;
    /// One sentence on where updates come from, for builds that cannot check.
    [[nodiscard]] virtual QString source() const = 0;
};

/// An updater that cannot check: updates arrive another way, which `source` names.
class NoUpdater final : public Updater {
public:
    explicit NoUpdater(QString source) : m_source(std::move(source)) {}

    [[nodiscard]] bool canCheck() const override { return false; }
    void checkNow() override {}
    [[nodiscard]] bool automaticChecks() const override { return false; }
    void setAutomaticChecks(bool) override {}
    [[nodiscard]] QString source() const override { return m_source; }

private:
    QString m_source;
};

/// The updater of this platform.
[[nodiscard]] std::unique_ptr<Updater> makeUpdater();

} // namespace lorekeep::ui
