// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <coroutine>

namespace airnote {

// A timed wait that another party can end early without cancelling whoever
// awaits it. One waiter at a time.
class CancellableWait : public QObject
{
    Q_OBJECT

public:
    class Awaiter
    {
    public:
        explicit Awaiter(CancellableWait *wait) : m_wait(wait) {}
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> waiter) noexcept { m_wait->m_waiter = waiter; }
        void await_resume() const noexcept {}

    private:
        CancellableWait *m_wait;
    };

    explicit CancellableWait(QObject *parent = nullptr);

    // Starts the wait at once; awaiting the result suspends until the duration
    // has run out or cancel() or finishNow() is called, whichever comes first.
    [[nodiscard]] Awaiter wait(std::chrono::milliseconds duration);
    bool isPending() const;
    // Ends the wait; the waiter resumes from the event loop, never inside the
    // caller's stack. Does nothing when no wait is pending.
    void cancel();
    // Ends the wait and resumes the waiter before returning: for an owner that
    // is going away and must see its loop finish while its members still live.
    void finishNow();

Q_SIGNALS:
    void ended();

private:
    void resumeWaiter();

    QTimer m_timer;
    std::coroutine_handle<> m_waiter;
};

} // namespace airnote
