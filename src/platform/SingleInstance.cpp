// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SingleInstance.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include <unistd.h>

namespace airnote {

namespace {

// Room for an export path, percent-encoded: up to three bytes for each of PATH_MAX.
constexpr qsizetype maximumActionLength = 16 * 1024;
constexpr int answerTimeoutMilliseconds = 2000;
constexpr unsigned long retryMilliseconds = 50;

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_socketName(QDir(folder).filePath(QStringLiteral("airnote-%1.socket").arg(getuid())))
    , m_lock(QDir(folder).filePath(QStringLiteral("airnote-%1.lock").arg(getuid())))
{
    // A lock is never stale by age: the program runs for days. QLockFile
    // still takes over the lock of a process that is gone.
    m_lock.setStaleLockTime(0);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::onNewConnection);
}

QString SingleInstance::defaultFolder()
{
    // The runtime folder is private to the user and cleared at logout, which
    // is exactly the lifetime of one session. Without XDG_RUNTIME_DIR, Qt makes
    // /tmp/runtime-<user> and answers none when that folder is not the user's
    // own with mode 0700 (someone took the name first): the cache serves then.
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (!runtime.isEmpty())
        return runtime;
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
        + QStringLiteral("/Airnote");
    QDir().mkpath(cache);
    QFile::setPermissions(cache, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return cache;
}

bool SingleInstance::sendToRunningInstance(const QString &action, std::chrono::milliseconds patience) const
{
    // Blocking is fine here: this runs at start, before there is any window.
    const QDeadlineTimer deadline(patience);
    while (!sendOnce(action)) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(retryMilliseconds);
    }
    return true;
}

bool SingleInstance::sendOnce(const QString &action) const
{
    QLocalSocket socket;
    socket.connectToServer(m_socketName);
    if (!socket.waitForConnected(answerTimeoutMilliseconds))
        return false;
    socket.write(action.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(answerTimeoutMilliseconds))
        return false;
    // Wait for the acknowledgement so the action is taken before we exit.
    return socket.waitForReadyRead(answerTimeoutMilliseconds) && socket.readLine().trimmed() == "ok";
}

SingleInstance::Claim SingleInstance::claim()
{
    if (!m_lock.tryLock(0))
        return Claim::heldElsewhere;
    // With the lock held, a socket left at the path belongs to an instance
    // that is gone (a crash): take it over.
    QLocalServer::removeServer(m_socketName);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    return m_server.listen(m_socketName) ? Claim::listening : Claim::cannotListen;
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
