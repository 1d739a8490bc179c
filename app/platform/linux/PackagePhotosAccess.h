#pragma once

#include "../PhotosAccess.h"

#include <QObject>

#include <memory>

namespace lorekeep::app {

/// Access to a Photos library package read straight from its files: authorized when its database can be opened
/// for reading, denied otherwise. There is nobody to ask, so a request answers the same.
class PackagePhotosAccess final : public PhotosAccess {
public:
    explicit PackagePhotosAccess(QString packagePath);
    ~PackagePhotosAccess() override;

    [[nodiscard]] PhotosAuthorization status() const override;
    void request(std::function<void(PhotosAuthorization)> done) override;

private:
    QString m_databasePath;
    std::unique_ptr<QObject> m_context;
};

} // namespace lorekeep::app
