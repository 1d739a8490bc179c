#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

namespace lorekeep::ui {

/// Keeps Lorekeep to one running copy per user: a second start hands its request ("settings", "panel",
/// "quit", or "" for a plain start) to the first one over a local socket and leaves.
class InstanceChannel : public QObject {
    Q_OBJECT
public:
    explicit InstanceChannel(QObject* parent = nullptr);
    ~InstanceChannel() override;

    /// Hands `request` to a running copy; false when none answers.
    [[nodiscard]] static bool sendToRunning(const QString& request);
    /// Starts answering later starts; false when the socket cannot be made.
    bool listen();

signals:
    void requested(const QString& request);

private:
    QLocalServer* m_server;
};

/// The request of the command line: "--settings", "--panel" or "--quit", else "".
[[nodiscard]] QString requestFromArguments(const QStringList& arguments);

} // namespace lorekeep::ui
