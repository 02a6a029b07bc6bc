#include "CancellableWait.h"

#include <QCoroSignal>

namespace airnote {

CancellableWait::CancellableWait(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &CancellableWait::ended);
}

QCoro::Task<> CancellableWait::wait(std::chrono::milliseconds duration)
{
    m_timer.start(duration);
    // QCoro resumes through a queued connection, so an ended() emitted from
    // inside cancel() never re-enters the caller's stack.
    co_await qCoro(this, &CancellableWait::ended);
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
}

} // namespace airnote
