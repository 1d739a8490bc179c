#include "FakePlatform.h"

#include <algorithm>

namespace lorekeep::app::test {

std::vector<FakeNotificationCenter::Posted> FakeNotificationCenter::shown() const {
    std::vector<Posted> shown;
    for (const Posted& posted : posts) {
        const auto same = std::find_if(shown.begin(), shown.end(),
                                       [&](const Posted& other) { return other.identifier == posted.identifier; });
        if (same == shown.end())
            shown.push_back(posted);
        else
            *same = posted;
    }
    return shown;
}

std::optional<QString> FakeLoginItem::registerItem() {
    ++registrations;
    if (failure)
        return failure;
    state = afterRegister;
    return std::nullopt;
}

std::optional<QString> FakeLoginItem::unregisterItem() {
    if (failure)
        return failure;
    state = Status::notRegistered;
    return std::nullopt;
}

void FakePhotosAccess::request(std::function<void(PhotosAuthorization)> done) {
    if (current == PhotosAuthorization::notDetermined)
        current = answer;
    done(current);
}

class FakeWatchers::Watcher final : public LibraryWatcher {
public:
    Watcher(std::shared_ptr<std::vector<Watcher*>> list, std::function<void()> onChange)
        : m_list(std::move(list)), onChange(std::move(onChange)) {
        m_list->push_back(this);
    }
    ~Watcher() override { m_list->erase(std::remove(m_list->begin(), m_list->end(), this), m_list->end()); }

private:
    std::shared_ptr<std::vector<Watcher*>> m_list;

public:
    std::function<void()> onChange;
};

std::unique_ptr<LibraryWatcher> FakeWatchers::make(const QString& package, std::function<void()> onChange) {
    m_lastPackage = package;
    return std::make_unique<Watcher>(m_watchers, std::move(onChange));
}

void FakeWatchers::changeLibrary() {
    const std::vector<Watcher*> watchers = *m_watchers;
    for (Watcher* watcher : watchers)
        watcher->onChange();
}

int FakeWatchers::alive() const {
    return static_cast<int>(m_watchers->size());
}

} // namespace lorekeep::app::test
