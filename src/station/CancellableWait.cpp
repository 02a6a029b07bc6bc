// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CancellableWait.h"

#include <utility>

namespace airnote {

CancellableWait::CancellableWait(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    // A coarse timer may fire 5 % early: 3 s off a 60 s wait. One wake-up per
    // wait costs nothing, so the waits are as long as they say.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        Q_EMIT ended();
        resumeWaiter();
    });
}

CancellableWait::Awaiter CancellableWait::wait(std::chrono::milliseconds duration)
{
    m_timer.start(duration);
    return Awaiter(this);
}

bool CancellableWait::isPending() const
{
    return m_timer.isActive();
}

void CancellableWait::cancel()
{
    if (!m_timer.isActive())
        return;
    m_timer.stop();
    Q_EMIT ended();
    QMetaObject::invokeMethod(this, &CancellableWait::resumeWaiter, Qt::QueuedConnection);
}

void CancellableWait::finishNow()
{
    if (m_timer.isActive()) {
        m_timer.stop();
        Q_EMIT ended();
    }
    resumeWaiter();
}

void CancellableWait::resumeWaiter()
{
    // Taken first: the waiter may start the next wait before resume() returns.
    if (const std::coroutine_handle<> waiter = std::exchange(m_waiter, {}))
        waiter.resume();
}

} // namespace airnote
