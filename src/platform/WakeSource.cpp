// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "WakeSource.h"

#include "core/Logging.h"

#include <QDBusConnection>

namespace airnote {

using namespace Qt::StringLiterals;

WakeSource::WakeSource(QObject *parent)
    : QObject(parent)
{
}

void WakeSource::listenToLogind()
{
    if (m_listening)
        return;
    m_listening = true;
    QDBusConnection bus = QDBusConnection::systemBus();
    const bool subscribed = bus.isConnected()
        && bus.connect(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                       u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s,
                       this, SLOT(onPrepareForSleep(bool)));
    if (!subscribed)
        qCInfo(fipLogger) << "Wake events unavailable: no system bus";
}

void WakeSource::onPrepareForSleep(bool goingToSleep)
{
    if (goingToSleep)
        Q_EMIT sleeping();
    else
        Q_EMIT woke();
}

} // namespace airnote
