// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/MusicUserTokenProvider.h"

#include <QCoroTimer>

namespace airnote::testing {

// The keychain in memory. Like the real one it answers later, never at once,
// and what it holds outlives the store objects, as it outlives the program.
struct MemoryKeychain : MusicUserTokenProvider::Store
{
    static inline QString token;
    static inline bool reachable = true;

    QCoro::Task<QString> read() override
    {
        co_await answerLater();
        // A const copy, or QCoro would move the static out (core/Coroutines.h).
        const QString stored = token;
        co_return stored;
    }
    QCoro::Task<> write(QString value) override
    {
        co_await answerLater();
        token = value;
    }
    QCoro::Task<> remove() override { return write(QString()); }

    static QCoro::Task<> answerLater()
    {
        co_await QCoro::sleepFor(std::chrono::milliseconds(0));
        if (!reachable)
            throw MusicUserTokenProvider::Unavailable(QStringLiteral("The system keychain is locked"));
    }
};

} // namespace airnote::testing
