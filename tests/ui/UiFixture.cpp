#include "ui/UiFixture.h"

#include <QDir>

namespace lorekeep::ui::test {

UiFixture::UiFixture() : m_library(std::make_shared<lorekeep::test::FakePhotoLibrary>()) {
    for (int i = 1; i <= 4; ++i) {
        const std::string id = "photo-" + std::to_string(i);
        m_library->addAsset(lorekeep::test::FakePhotoLibrary::photo(id),
                            {{ResourceType::photo, "IMG_000" + std::to_string(i) + ".JPG", "jpeg bytes " + id}});
    }
    m_library->addAlbum({"album-trip", "Trip to Crete", {"photo-1", "photo-2"}});
    m_library->addAlbum({"album-cats", "Cats", {"photo-3"}});
    m_library->addAlbum({"album-garden", "Garden", {"photo-4"}});
    m_fakes = std::make_unique<app::test::FakeServices>(m_dir.path() / "app", m_library);
}

UiFixture::~UiFixture() = default;

app::AppState& UiFixture::makeState() {
    m_state = std::make_unique<app::AppState>(std::move(m_fakes->services));
    return *m_state;
}

app::BackupJob UiFixture::addJob(const QString& name, const QString& folder, bool makeFolder) {
    auto job = app::BackupJob::make(name);
    job.destinationPath = pathOf(folder);
    if (makeFolder)
        QDir().mkpath(*job.destinationPath);
    m_state->addJob(job);
    return job;
}

void UiFixture::runAll() {
    ASSERT_TRUE(m_state->backUpNow());
    ASSERT_TRUE(app::test::waitUntil([&] { return !m_state->isRunning(); }));
}

QString UiFixture::pathOf(const QString& relative) const {
    return QString::fromStdString((m_dir.path() / relative.toStdString()).string());
}

} // namespace lorekeep::ui::test
