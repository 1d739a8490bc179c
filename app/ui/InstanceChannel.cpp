#include "InstanceChannel.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QStringList>

#include <unistd.h>

namespace lorekeep::ui {

namespace {

QString socketName() {
    return QStringLiteral("lorekeep-%1").arg(::getuid());
}

constexpr int timeoutMs = 1000;

} // namespace

InstanceChannel::InstanceChannel(QObject* parent) : QObject(parent), m_server(new QLocalServer(this)) {
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (auto* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (!socket->canReadLine())
                    return;
                const QString request = QString::fromUtf8(socket->readLine()).trimmed();
                socket->write("ok\n");
                socket->flush();
                emit requested(request);
            });
        }
    });
}

InstanceChannel::~InstanceChannel() = default;

bool InstanceChannel::sendToRunning(const QString& request) {
    QLocalSocket socket;
    socket.connectToServer(socketName());
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(request.toUtf8() + '\n');
    socket.flush();
    return socket.waitForReadyRead(timeoutMs) && socket.readLine().trimmed() == "ok";
}

bool InstanceChannel::listen() {
    // A socket left behind by a copy that crashed would keep every later copy from listening.
    QLocalServer::removeServer(socketName());
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    return m_server->listen(socketName());
}

QString requestFromArguments(const QStringList& arguments) {
    for (const auto& argument : arguments.mid(1)) {
        if (argument == QLatin1String("--settings"))
            return QStringLiteral("settings");
        if (argument == QLatin1String("--panel"))
            return QStringLiteral("panel");
        if (argument == QLatin1String("--quit"))
            return QStringLiteral("quit");
    }
    return {};
}

} // namespace lorekeep::ui
