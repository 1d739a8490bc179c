#include "../LoginItemPolicy.h"
#include "../PlatformServices.h"
#include "MainAppService.h"

#include <QString>

namespace lorekeep::app {

namespace {

/// The application as its own login item (SMAppService.mainAppService).
class MacLoginItem final : public LoginItem {
public:
    [[nodiscard]] Status status() const override { return loginItemStatusOf(MainAppService::status()); }

    [[nodiscard]] std::optional<QString> registerItem() override {
        return registrationErrorText(MainAppService::registerApp());
    }

    [[nodiscard]] std::optional<QString> unregisterItem() override {
        if (!needsUnregistering(status()))
            return std::nullopt;
        return unregistrationErrorText(MainAppService::unregisterApp());
    }

    void openApprovalSettings() override { MainAppService::openLoginItemsSettings(); }
};

} // namespace

std::unique_ptr<LoginItem> makeLoginItem() {
    return std::make_unique<MacLoginItem>();
}

} // namespace lorekeep::app
