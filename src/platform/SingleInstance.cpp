// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SingleInstance.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>

#include <unistd.h>

namespace airnote {

namespace {

constexpr qsizetype maximumActionLength = 64;

} // namespace

SingleInstance::SingleInstance(QString socketName, QObject *parent)
    : QObject(parent)
    , m_socketName(std::move(socketName))
{
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::onNewConnection);
}

QString SingleInstance::defaultSocketName()
{
    // The runtime folder is private to the user and cleared at logout, which
    // is exactly the lifetime of one session.
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return QDir(folder).filePath(QStringLiteral("airnote-%1.socket").arg(getuid()));
}

bool SingleInstance::sendToRunningInstance(const QString &action, int timeoutMilliseconds) const
{
    QLocalSocket socket;
    socket.connectToServer(m_socketName);
    if (!socket.waitForConnected(timeoutMilliseconds))
        return false;
    socket.write(action.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(timeoutMilliseconds))
        return false;
    // Wait for the acknowledgement so the action is taken before we exit.
    return socket.waitForReadyRead(timeoutMilliseconds) && socket.readLine().trimmed() == "ok";
}

bool SingleInstance::listen()
{
    // Probe first: with access options set, QLocalServer replaces an existing
    // socket file instead of failing, which would orphan a running instance.
    QLocalSocket probe;
    probe.connectToServer(m_socketName);
    if (probe.waitForConnected(500))
        return false;
    // Whatever is left at that path answers nobody (a crashed instance): take it over.
    QLocalServer::removeServer(m_socketName);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    return m_server.listen(m_socketName);
}

void SingleInstance::onNewConnection()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > maximumActionLength)
                    socket->abort();
                return;
            }
            const QString action = QString::fromUtf8(socket->readLine(maximumActionLength).trimmed());
            socket->write("ok\n");
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT actionReceived(action);
        });
    }
}

} // namespace airnote
