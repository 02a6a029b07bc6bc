// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace airnote {

// Tells whether a StatusNotifierItem host (KDE Plasma, GNOME's AppIndicator
// extension, waybar, XFCE's panel plugin) is on the session bus, and when that
// changes: a panel started after us, restarted, or gone. Without a session bus
// there is simply never a host.
class StatusNotifierHostWatcher : public QObject
{
    Q_OBJECT

public:
    explicit StatusNotifierHostWatcher(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);

    bool hostRegistered() const;

Q_SIGNALS:
    void hostRegisteredChanged(bool registered);

private Q_SLOTS:
    // String-based: QtDBus connects bus signals by name only.
    void recheck();
    void forgetHost();

private:
    void setHostRegistered(bool registered);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcherService;
    bool m_hostRegistered = false;
};

} // namespace airnote
