#pragma once

#include "FakeServices.h"
#include "support/FakePhotoLibrary.h"
#include "support/TempDir.h"

#include "AppState.h"

#include <gtest/gtest.h>

#include <memory>

namespace lorekeep::ui::test {

/// An AppState over fakes of the platform, a manual clock and an in-memory library of a few photos, in a
/// temporary folder of its own.
class UiFixture : public testing::Test {
protected:
    UiFixture();
    ~UiFixture() override;

    /// Makes the state; the fakes may be set up before.
    app::AppState& makeState();
    /// A job backing up to a folder of the temporary folder (made when `makeFolder`).
    app::BackupJob addJob(const QString& name, const QString& folder, bool makeFolder = true);
    /// Starts a run of every job and waits for it to end.
    void runAll();

    [[nodiscard]] QString pathOf(const QString& relative) const;

    lorekeep::test::TempDir m_dir;
    std::shared_ptr<lorekeep::test::FakePhotoLibrary> m_library;
    std::unique_ptr<app::test::FakeServices> m_fakes;
    std::unique_ptr<app::AppState> m_state;
};

} // namespace lorekeep::ui::test
