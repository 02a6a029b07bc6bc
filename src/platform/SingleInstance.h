// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QString>

#include <chrono>

namespace airnote {

// One program per user session. The first start takes a lock file, then
// listens on a local socket beside it; a later start hands its action over
// through the socket and exits. The lock, not the socket, decides who runs:
// two starts at the same moment cannot both take it.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Claim { listening, heldElsewhere, cannotListen };

    // Socket and lock in folder, which must be private to the user.
    explicit SingleInstance(const QString &folder = defaultFolder(), QObject *parent = nullptr);

    // The session's runtime folder; without one, a folder of the user's own
    // cache, never a name others could take first in a shared /tmp.
    static QString defaultFolder();

    // Sends action to a running instance, trying again while patience lasts
    // (an instance holding the lock may not listen yet); false when none answered.
    bool sendToRunningInstance(const QString &action, std::chrono::milliseconds patience = {}) const;

    // Becomes the running instance, unless another start holds the lock.
    Claim claim();

    QString socketName() const { return m_socketName; }

Q_SIGNALS:
    void actionReceived(const QString &action);

private:
    bool sendOnce(const QString &action) const;
    void onNewConnection();

    QString m_socketName;
    QLockFile m_lock;
    QLocalServer m_server;
};

} // namespace airnote
