#include "ui/Onboarding.h"
#include "ui/Controls.h"
#include "ui/Screenshot.h"
#include "ui/UiFixture.h"

#include <QLabel>
#include <QPushButton>

namespace lorekeep::ui::test {
namespace {

class Guide : public UiFixture {
protected:
    static QPushButton* button(const QWidget& root, const QString& text) {
        for (auto* candidate : root.findChildren<QPushButton*>())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }
    static std::vector<bool> done(const Onboarding& guide) {
        std::vector<bool> result;
        for (int step = 0; step < Onboarding::stepCount; ++step)
            result.push_back(guide.stepDone(step));
        return result;
    }
    static QStringList doneTexts(const Onboarding& guide) {
        QStringList result;
        for (const auto* label : guide.findChildren<QLabel*>("doneText"))
            if (label->isVisibleTo(&guide))
                result << label->text();
        return result;
    }
};

TEST_F(Guide, stepsTurnDoneAsTheUserGoesThroughThemAndDoneIsStored) {
    m_fakes->photosAccess->current = app::PhotosAuthorization::authorized;
    m_fakes->notifications->currentPermission = app::NotificationCenter::Permission::notAsked;
    auto& state = makeState();

    inEachLook([&](Look look) {
        Onboarding guide(state);
        guide.show();
        saveScreenshot(guide, "onboarding-start", look);
    });

    Onboarding guide(state);
    guide.show();
    EXPECT_EQ(done(guide), (std::vector<bool>{true, false, false, false, false}));

    button(guide, "Allow")->click();
    EXPECT_TRUE(guide.stepDone(2));
    EXPECT_TRUE(doneTexts(guide).contains("On, for problems only."));
    EXPECT_FALSE(button(guide, "Allow")->isVisibleTo(&guide));

    guide.findChild<Switch*>()->click();
    EXPECT_TRUE(state.startsAtLogin());
    EXPECT_TRUE(guide.stepDone(3));

    bool asked = false;
    QObject::connect(&guide, &Onboarding::addJobRequested, [&] { asked = true; });
    button(guide, "Add Job…")->click();
    EXPECT_TRUE(asked);
    addJob("Zeus", "Zeus");
    EXPECT_TRUE(guide.stepDone(4));
    EXPECT_TRUE(doneTexts(guide).contains("1 job set up."));
    EXPECT_TRUE(button(guide, "Add Another…")->isVisibleTo(&guide));
    addJob("USB", "USB");
    EXPECT_TRUE(doneTexts(guide).contains("2 jobs set up."));

    inEachLook([&](Look look) {
        Onboarding themed(state);
        saveScreenshot(themed, "onboarding-most-done", look);
    });

    EXPECT_FALSE(state.onboardingDone());
    bool finished = false;
    QObject::connect(&guide, &Onboarding::done, [&] { finished = true; });
    button(guide, "Done")->click();
    EXPECT_TRUE(finished);
    EXPECT_TRUE(state.onboardingDone());
    EXPECT_FALSE(guide.isVisible());
}

TEST_F(Guide, loginStepAsksForApprovalWhenTheSystemHoldsIt) {
    m_fakes->loginItem->afterRegister = app::LoginItem::Status::requiresApproval;
    auto& state = makeState();
    Onboarding guide(state);
    guide.show();
    guide.findChild<Switch*>()->click();
    EXPECT_FALSE(guide.stepDone(3));
    bool approvalShown = false;
    for (const auto* label : guide.findChildren<QLabel*>())
        approvalShown |= label->text() == "Approve Lorekeep in Login Items." && label->isVisibleTo(&guide);
    EXPECT_TRUE(approvalShown);
}

TEST_F(Guide, notificationsRefusedLeaveTheStepOpen) {
    m_fakes->notifications->currentPermission = app::NotificationCenter::Permission::notAsked;
    m_fakes->notifications->grant = false;
    auto& state = makeState();
    Onboarding guide(state);
    guide.show();
    button(guide, "Allow")->click();
    EXPECT_FALSE(guide.stepDone(2));
    EXPECT_TRUE(button(guide, "Allow")->isVisibleTo(&guide));
}

} // namespace
} // namespace lorekeep::ui::test
