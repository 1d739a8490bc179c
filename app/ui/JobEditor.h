#pragma once

// Qt's headers come first: moc cannot parse <concepts> when the job's headers reach it before Qt's.
#include <QDialog>

#include "BackupJob.h"

#include <functional>
#include <optional>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class SymbolLabel;

/// The sheet in which a job is made or changed. It edits a copy; "Save" checks it and, when it passes, adds it
/// to the application's jobs or replaces the stored one; "Cancel" drops it.
class JobEditor : public QDialog {
    Q_OBJECT
public:
    /// Asks the user for a folder; empty when they cancel.
    using FolderChooser = std::function<QString(QWidget* parent)>;

    /// A new job when `job` is absent.
    JobEditor(app::AppState& state, std::optional<app::BackupJob> job, QWidget* parent = nullptr);

    /// The job as the controls say now.
    [[nodiscard]] app::BackupJob job() const;
    /// The message that keeps the job from being saved, as shown (empty when none is shown).
    [[nodiscard]] QString validationMessage() const;
    /// The destination warning, as shown (empty when none).
    [[nodiscard]] QString destinationWarning() const;
    /// Whether the notice about rescanning the job is shown.
    [[nodiscard]] bool rescanNoticeShown() const;

    void setFolderChooser(FolderChooser chooser) { m_chooseFolder = std::move(chooser); }
    /// Uses this folder as the destination, as a choice in the folder chooser does.
    void setDestination(const QString& path);
    /// The user's home folder for the synced-folder test, and the test for a path's existence.
    void setHome(const QString& home, std::function<bool(const QString&)> exists);

    /// Checks the job and saves it when it passes; the first failure is shown otherwise.
    bool save();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fitHeight();
    void fillAlbums();
    void updateSource();
    void updateDestination();
    void updateValidation();

    app::AppState& m_state;
    app::BackupJob m_job;
    bool m_isNew;
    BackupScope m_originalScope;
    bool m_triedSave = false;
    FolderChooser m_chooseFolder;
    QString m_home;
    std::function<bool(const QString&)> m_exists;

    QLineEdit* m_name;
    QLabel* m_path;
    QWidget* m_warningRow;
    QLabel* m_warning;
    QComboBox* m_source;
    QLineEdit* m_filter;
    QListWidget* m_albums;
    QLabel* m_loading;
    QCheckBox* m_photos;
    QCheckBox* m_videos;
    QCheckBox* m_shared;
    QLabel* m_sharedHelp;
    QCheckBox* m_since;
    QLabel* m_startLabel;
    QDateEdit* m_start;
    QLabel* m_rescan;
    QLabel* m_message;
    QPushButton* m_save;
};

/// The folder chooser of the job editor, with its prompt and message.
[[nodiscard]] QString chooseDestinationFolder(QWidget* parent);

} // namespace lorekeep::ui
