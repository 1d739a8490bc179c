#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

/// The settings window's Privacy tab: access to the Photos library (on Linux, the library package in use) and
/// the access the Shared Library filter needs.
class PrivacyTab : public QWidget {
    Q_OBJECT
public:
    explicit PrivacyTab(app::AppState& state, QWidget* parent = nullptr);

    /// Asks for a Photos library package; the application asks the user with a folder chooser.
    void setPackageChooser(std::function<QString(QWidget*)> chooser) { m_choosePackage = std::move(chooser); }

private:
    void updatePhotos();
    void updateFilter();

    app::AppState& m_state;
    std::function<QString(QWidget*)> m_choosePackage;
    QLabel* m_photosState = nullptr;
    QLabel* m_package = nullptr;
    QPushButton* m_allow = nullptr;
    QLabel* m_filterState = nullptr;
    QLabel* m_skipped = nullptr;
};

/// The folder chooser for a Photos library package.
[[nodiscard]] QString choosePhotosLibrary(QWidget* parent, const QString& current);

} // namespace lorekeep::ui
