// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "BoundedTcpServer.h"

#include "core/Logging.h"

#include <QTcpSocket>
#include <QTimer>

namespace airnote {

void BoundedTcpServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    if (m_openConnections >= maximumOpenConnections) {
        qCWarning(musicLogger) << "Refused a connection: already" << m_openConnections << "open";
        socket->abort();
        socket->deleteLater();
        return;
    }
    ++m_openConnections;
    connect(socket, &QObject::destroyed, this, [this] { --m_openConnections; });

    // Connected before the HTTP server's own handler, so this one sees each
    // chunk before it is read: the HTTP server reads all that is available.
    connect(socket, &QTcpSocket::readyRead, socket, [socket, received = qint64(0)]() mutable {
        received += socket->bytesAvailable();
        if (received > maximumBytesPerConnection) {
            qCWarning(musicLogger) << "Closed a connection that sent more than" << maximumBytesPerConnection << "bytes";
            socket->abort();
        }
    });
    QTimer::singleShot(maximumConnectionLifetime, socket, [socket] { socket->abort(); });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    addPendingConnection(socket);
}

} // namespace airnote
