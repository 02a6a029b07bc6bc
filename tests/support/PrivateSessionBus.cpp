// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PrivateSessionBus.h"

#include <QDBusArgument>
#include <QDBusVariant>

#include <csignal>
#include <sys/prctl.h>

namespace airnote::testing {

namespace {

const QString appConnection = QStringLiteral("private-bus-app");
const QString desktopConnection = QStringLiteral("private-bus-desktop");

} // namespace

PrivateSessionBus::PrivateSessionBus()
{
    m_daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--session"), QStringLiteral("--print-address"), QStringLiteral("--nofork")});
    while (!m_daemon.canReadLine()) {
        if (!m_daemon.waitForReadyRead(10000))
            return;
    }
    const QString address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    m_app = QDBusConnection::connectToBus(address, appConnection);
    m_desktop = QDBusConnection::connectToBus(address, desktopConnection);
}

PrivateSessionBus::~PrivateSessionBus()
{
    QDBusConnection::disconnectFromBus(appConnection);
    QDBusConnection::disconnectFromBus(desktopConnection);
    m_daemon.kill();
    m_daemon.waitForFinished();
}

QDBusMessage PrivateSessionBus::callMpris(const QString &interface, const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("org.mpris.MediaPlayer2.airnote"),
                                                          QStringLiteral("/org/mpris/MediaPlayer2"), interface, method);
    message.setArguments(arguments);
    return QDBusConnection(m_desktop).call(message, QDBus::BlockWithGui, 5000);
}

QVariant PrivateSessionBus::plain(QVariant value)
{
    if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.metaType() == QMetaType::fromType<QDBusArgument>())
        value = qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
    if (value.metaType() != QMetaType::fromType<QVariantMap>())
        return value;
    QVariantMap map = value.toMap();
    for (QVariant &entry : map)
        entry = plain(entry);
    return map;
}

} // namespace airnote::testing
