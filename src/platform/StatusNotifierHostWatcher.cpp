// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StatusNotifierHostWatcher.h"

#include "core/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace airnote {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

QDBusMessage hostQuery()
{
    QDBusMessage query = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                        QStringLiteral("org.freedesktop.DBus.Properties"),
                                                        QStringLiteral("Get"));
    query << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    return query;
}

// No watcher on the bus answers with an error: no host either.
bool hostRegisteredIn(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        && qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant().toBool();
}

} // namespace

StatusNotifierHostWatcher::StatusNotifierHostWatcher(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_watcherService(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (!m_bus.isConnected()) {
        qCInfo(uiLogger, "No session bus: no StatusNotifierItem host can show the tray icon");
        return;
    }
    connect(&m_watcherService, &QDBusServiceWatcher::serviceOwnerChanged, this, &StatusNotifierHostWatcher::recheck);
    // A watcher may run before its host registers (or after it leaves): the property tells, the signals say when.
    for (const char *signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        m_bus.connect(watcherService, watcherPath, watcherService, QString::fromLatin1(signal), this, SLOT(recheck()));
    // A bus that dies takes the host's view of our icon with it; libdbus says so with a local signal.
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"), QStringLiteral("org.freedesktop.DBus.Local"),
                  QStringLiteral("Disconnected"), this, SLOT(forgetHost()));
    // Asked once before the first window, so that a desktop with a tray never flashes one.
    m_hostRegistered = hostRegisteredIn(m_bus.call(hostQuery(), QDBus::Block, 2000));
}

bool StatusNotifierHostWatcher::hostRegistered() const
{
    return m_hostRegistered;
}

void StatusNotifierHostWatcher::recheck()
{
    auto *pending = new QDBusPendingCallWatcher(m_bus.asyncCall(hostQuery()), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        setHostRegistered(hostRegisteredIn(call->reply()));
    });
}

void StatusNotifierHostWatcher::forgetHost()
{
    setHostRegistered(false);
}

void StatusNotifierHostWatcher::setHostRegistered(bool registered)
{
    if (registered == m_hostRegistered)
        return;
    m_hostRegistered = registered;
    qCInfo(uiLogger, registered ? "A StatusNotifierItem host is on the session bus" : "The StatusNotifierItem host left");
    Q_EMIT hostRegisteredChanged(registered);
}

} // namespace airnote
