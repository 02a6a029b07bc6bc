// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

namespace airnote {

// One program per user session: the first start listens on a local socket in
// the session's runtime folder; a later start hands its action over and exits.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QString socketName = defaultSocketName(), QObject *parent = nullptr);

    static QString defaultSocketName();

    // Sends action to a running instance; false when none answered.
    bool sendToRunningInstance(const QString &action, int timeoutMilliseconds = 2000) const;

    // Becomes the running instance; false when another one holds the name.
    bool listen();

Q_SIGNALS:
    void actionReceived(const QString &action);

private:
    void onNewConnection();

    QString m_socketName;
    QLocalServer m_server;
};

} // namespace airnote
