// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <coroutine>
#include <utility>

namespace airnote {

// Waits for a signal, at most a timeout; awaiting it answers whether the
// signal came. Listening starts at construction, so a signal sent before the
// co_await still counts: build it, start what will send the signal, then await.
// The waiter resumes once, directly, from whichever comes first; the other is
// dropped at that moment, even when both are due in the same pass of the event
// loop. (QCoro 0.8's signal awaiter resumes through a queued call, and a second
// emission queued meanwhile resumes a frame that is gone.)
// Not movable: the connections point at it.
class SignalWait
{
public:
    template<typename Sender, typename Signal>
    SignalWait(Sender *sender, Signal signal, std::chrono::milliseconds timeout)
    {
        m_connection = QObject::connect(sender, signal, &m_timer, [this] { end(true); });
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { end(false); });
        m_timer.start(timeout);
    }
    SignalWait(const SignalWait &) = delete;
    SignalWait &operator=(const SignalWait &) = delete;

    class Awaiter
    {
    public:
        explicit Awaiter(SignalWait *wait) : m_wait(wait) {}
        bool await_ready() const noexcept { return m_wait->m_ended; }
        void await_suspend(std::coroutine_handle<> waiter) noexcept { m_wait->m_waiter = waiter; }
        bool await_resume() const noexcept { return m_wait->m_signalled; }

    private:
        SignalWait *m_wait;
    };

    Awaiter operator co_await() noexcept { return Awaiter(this); }

private:
    void end(bool signalled)
    {
        if (m_ended)
            return;
        m_ended = true;
        m_signalled = signalled;
        QObject::disconnect(m_connection);
        m_timer.stop();
        if (const std::coroutine_handle<> waiter = std::exchange(m_waiter, {}))
            waiter.resume();
    }

    QTimer m_timer;
    QMetaObject::Connection m_connection;
    std::coroutine_handle<> m_waiter;
    bool m_ended = false;
    bool m_signalled = false;
};

} // namespace airnote
