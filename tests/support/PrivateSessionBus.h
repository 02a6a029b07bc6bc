// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QVariant>

namespace airnote::testing {

// A D-Bus daemon of the test's own, never the machine's bus, with two
// connections to it: the app's and a desktop's. The daemon dies with the
// test, even one that crashes.
class PrivateSessionBus
{
public:
    PrivateSessionBus();
    ~PrivateSessionBus();

    bool isConnected() const { return m_app.isConnected() && m_desktop.isConnected(); }
    QDBusConnection app() const { return m_app; }
    QDBusConnection desktop() const { return m_desktop; }

    // A call from the desktop to Airnote's MPRIS object. Both ends live on
    // this thread, so events run while it waits.
    QDBusMessage callMpris(const QString &interface, const QString &method, const QVariantList &arguments = {}) const;

    // What QtDBus hands a client, with variants and nested a{sv} unwrapped.
    static QVariant plain(QVariant value);

private:
    QProcess m_daemon;
    QDBusConnection m_app{QString()};
    QDBusConnection m_desktop{QString()};
};

} // namespace airnote::testing
