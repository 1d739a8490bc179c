#include "../MainThreadCall.h"
#include "../PhotosPolicy.h"
#include "../PlatformServices.h"
#include "PhotoLibraryAuthorization.h"

#include <QObject>

namespace lorekeep::app {

namespace {

/// PhotoKit's read-write authorization of the system Photos library (the package path is not used).
class MacPhotosAccess final : public PhotosAccess {
public:
    [[nodiscard]] PhotosAuthorization status() const override {
        return photosAuthorizationOf(PhotoLibraryAuthorization::readWriteStatus());
    }

    void request(std::function<void(PhotosAuthorization)> done) override {
        PhotoLibraryAuthorization::requestReadWrite(onMainThread<long>(
            &m_context, [done = std::move(done)](long status) { done(photosAuthorizationOf(status)); }));
    }

private:
    QObject m_context;
};

} // namespace

std::unique_ptr<PhotosAccess> makePhotosAccess(const QString&) {
    return std::make_unique<MacPhotosAccess>();
}

} // namespace lorekeep::app
