#include "LoginItemPolicy.h"

namespace lorekeep::app {

namespace {

// Codes of the service-management error domain; 11 and 12 are newer than some SDKs' headers.
constexpr long invalidSignature = 3;
constexpr long jobNotFound = 6;
constexpr long launchDeniedByUser = 11;
constexpr long alreadyRegistered = 12;

constexpr long posixNotPermitted = 1;

bool isServiceManagementError(const ServiceError& error) {
    return error.domain != "NSPOSIXErrorDomain" && error.domain != "NSCocoaErrorDomain" &&
           error.domain != "NSOSStatusErrorDomain";
}

QString describedError(const ServiceError& error) {
    return QStringLiteral("%1 (%2 %3)")
        .arg(QString::fromStdString(error.description), QString::fromStdString(error.domain))
        .arg(error.code);
}

} // namespace

LoginItem::Status loginItemStatusOf(long serviceStatus) {
    switch (serviceStatus) {
    case 0:
        return LoginItem::Status::notRegistered;
    case 1:
        return LoginItem::Status::enabled;
    case 2:
        return LoginItem::Status::requiresApproval;
    default:
        return LoginItem::Status::notFound;
    }
}

std::optional<QString> registrationErrorText(const std::optional<ServiceError>& error) {
    if (!error)
        return std::nullopt;
    if (isServiceManagementError(*error)) {
        switch (error->code) {
        case alreadyRegistered:
            return std::nullopt;
        case invalidSignature:
            return QStringLiteral("macOS starts only signed applications at login, and this copy of Lorekeep is "
                                  "not signed.");
        case launchDeniedByUser:
            return QStringLiteral("Lorekeep is switched off in Login Items. Turn it on in System Settings > General "
                                  "> Login Items.");
        default:
            break;
        }
    }
    return QStringLiteral("Could not add Lorekeep to the login items: ") + describedError(*error);
}

bool needsUnregistering(LoginItem::Status status) {
    return status == LoginItem::Status::enabled || status == LoginItem::Status::requiresApproval;
}

std::optional<QString> unregistrationErrorText(const std::optional<ServiceError>& error) {
    if (!error)
        return std::nullopt;
    // Both say that there was nothing registered to remove, which is what the user asked for.
    if (isServiceManagementError(*error) && error->code == jobNotFound)
        return std::nullopt;
    if (error->domain == "NSPOSIXErrorDomain" && error->code == posixNotPermitted)
        return std::nullopt;
    return QStringLiteral("Could not remove Lorekeep from the login items: ") + describedError(*error);
}

} // namespace lorekeep::app
