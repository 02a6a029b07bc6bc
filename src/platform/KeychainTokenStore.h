// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/MusicUserTokenProvider.h"

#include <chrono>

#include <qt6keychain/keychain.h>

namespace airnote {

// The music user token in the system keychain through qtkeychain (Secret
// Service, KWallet, macOS Keychain...), service com.velmorin.Airnote, key music-user-token.
class KeychainTokenStore : public MusicUserTokenProvider::Store
{
public:
    static constexpr std::chrono::milliseconds defaultTimeout{10'000};

    explicit KeychainTokenStore(std::chrono::milliseconds timeout = defaultTimeout);

    QCoro::Task<QString> read() override;
    QCoro::Task<> write(QString token) override;
    QCoro::Task<> remove() override;

private:
    // Runs the job and waits for it, at most the timeout. Answers NoError or
    // EntryNotFound; any other outcome, or no answer, throws Unavailable.
    QCoro::Task<QKeychain::Error> run(QKeychain::Job *job, QString action);

    std::chrono::milliseconds m_timeout;
};

} // namespace airnote
