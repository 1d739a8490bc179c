// How the answers of macOS services become the application's: compiled and checked here, where they cannot be
// asked for real.
#include "platform/LoginItemPolicy.h"
#include "platform/MachTime.h"
#include "platform/NotificationPolicy.h"
#include "platform/PhotosPolicy.h"

#include <gtest/gtest.h>

using namespace lorekeep::app;

namespace {

const char* serviceDomain = "SMAppServiceErrorDomain";

TEST(SystemAnswers, rawStatusesMapToOursAndUnknownValuesToTheSafeSide) {
    EXPECT_EQ(loginItemStatusOf(0), LoginItem::Status::notRegistered);
    EXPECT_EQ(loginItemStatusOf(1), LoginItem::Status::enabled);
    EXPECT_EQ(loginItemStatusOf(2), LoginItem::Status::requiresApproval);
    EXPECT_EQ(loginItemStatusOf(3), LoginItem::Status::notFound);
    EXPECT_EQ(loginItemStatusOf(7), LoginItem::Status::notFound);

    using Permission = NotificationCenter::Permission;
    EXPECT_EQ(permissionOfAuthorizationStatus(0), Permission::notAsked);
    EXPECT_EQ(permissionOfAuthorizationStatus(1), Permission::denied);
    EXPECT_EQ(permissionOfAuthorizationStatus(2), Permission::allowed);
    EXPECT_EQ(permissionOfAuthorizationStatus(3), Permission::denied) << "provisional shows nothing on screen";
    EXPECT_EQ(permissionOfAuthorizationStatus(4), Permission::denied);

    EXPECT_EQ(photosAuthorizationOf(0), PhotosAuthorization::notDetermined);
    EXPECT_EQ(photosAuthorizationOf(1), PhotosAuthorization::restricted);
    EXPECT_EQ(photosAuthorizationOf(2), PhotosAuthorization::denied);
    EXPECT_EQ(photosAuthorizationOf(3), PhotosAuthorization::authorized);
    EXPECT_EQ(photosAuthorizationOf(4), PhotosAuthorization::limited);
    EXPECT_EQ(photosAuthorizationOf(9), PhotosAuthorization::denied);
}

TEST(SystemAnswers, registrationErrorsBecomeTheUsersTextAndAnExistingRegistrationIsSuccess) {
    struct Row {
        std::optional<ServiceError> error;
        std::optional<QString> text;
    };
    const Row rows[] = {
        {std::nullopt, std::nullopt},
        {ServiceError{serviceDomain, 12, "Already registered"}, std::nullopt},
        {ServiceError{serviceDomain, 3, "Invalid signature"},
         QStringLiteral("macOS starts only signed applications at login, and this copy of Lorekeep is not signed.")},
        {ServiceError{serviceDomain, 11, "Launch denied"},
         QStringLiteral("Lorekeep is switched off in Login Items. Turn it on in System Settings > General > Login "
                        "Items.")},
        // The same number in another domain means something else.
        {ServiceError{"NSCocoaErrorDomain", 12, "Something else"},
         QStringLiteral("Could not add Lorekeep to the login items: Something else (NSCocoaErrorDomain 12)")},
        {ServiceError{"NSPOSIXErrorDomain", 1, "Operation not permitted"},
         QStringLiteral("Could not add Lorekeep to the login items: Operation not permitted (NSPOSIXErrorDomain 1)")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error ? row.error->description : "no error");
        EXPECT_EQ(registrationErrorText(row.error), row.text);
    }
}

TEST(SystemAnswers, unregisteringWhatIsNotRegisteredIsNoError) {
    EXPECT_TRUE(needsUnregistering(LoginItem::Status::enabled));
    EXPECT_TRUE(needsUnregistering(LoginItem::Status::requiresApproval));
    EXPECT_FALSE(needsUnregistering(LoginItem::Status::notRegistered));
    EXPECT_FALSE(needsUnregistering(LoginItem::Status::notFound));

    EXPECT_EQ(unregistrationErrorText(std::nullopt), std::nullopt);
    EXPECT_EQ(unregistrationErrorText(ServiceError{serviceDomain, 6, "Job not found"}), std::nullopt);
    EXPECT_EQ(unregistrationErrorText(ServiceError{"NSPOSIXErrorDomain", 1, "Operation not permitted"}), std::nullopt);
    EXPECT_EQ(unregistrationErrorText(ServiceError{serviceDomain, 2, "Internal failure"}),
              QStringLiteral("Could not remove Lorekeep from the login items: Internal failure "
                             "(SMAppServiceErrorDomain 2)"));
}

TEST(SystemAnswers, onlyAnApplicationBundleMayUseTheNotificationCentre) {
    EXPECT_TRUE(canUseNotificationCenter("org.lorekeep.Lorekeep", "/Applications/Lorekeep.app"));
    EXPECT_TRUE(canUseNotificationCenter("org.lorekeep.Lorekeep", "/Applications/Lorekeep.app/"));
    EXPECT_FALSE(canUseNotificationCenter("", "/Applications/Lorekeep.app")) << "no identifier";
    EXPECT_FALSE(canUseNotificationCenter("org.lorekeep.Lorekeep", "/usr/local/bin")) << "a bare executable";
    EXPECT_FALSE(canUseNotificationCenter("org.lorekeep.Lorekeep", "/Applications/Lorekeep.app/Contents/MacOS"));
    EXPECT_FALSE(canUseNotificationCenter("org.lorekeep.Lorekeep", ".app"));
}

TEST(SystemAnswers, machTicksBecomeExactNanosecondsWithoutOverflowing) {
    // Apple silicon's timebase: 24 MHz ticks of 125/3 ns.
    EXPECT_EQ(nanosecondsOfMachTicks(3, 125, 3), 125);
    EXPECT_EQ(nanosecondsOfMachTicks(1, 125, 3), 41);
    EXPECT_EQ(nanosecondsOfMachTicks(86'400ull * 24'000'000, 125, 3), 86'400'000'000'000);
    // Intel's timebase is 1/1; a product of ticks and numerator would not fit in 64 bits here.
    EXPECT_EQ(nanosecondsOfMachTicks(1ull << 62, 1, 1), std::int64_t{1} << 62);
    EXPECT_EQ(nanosecondsOfMachTicks(1ull << 62, 1000, 1000), std::int64_t{1} << 62);
    EXPECT_EQ(nanosecondsOfMachTicks(5, 1, 0), 0) << "a timebase that could not be read";
}

} // namespace
