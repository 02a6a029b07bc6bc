// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

namespace airnote {

// The token backend's reply: {"token": "...", "expiresIn": 3600}.
struct TokenResponse
{
    QString token;
    qint64 expiresIn = 0;  // seconds, counted from the reply

    // Throws JsonError when the data is not JSON, not an object, or lacks a
    // string "token" or an integer "expiresIn". Other keys are ignored.
    static TokenResponse decode(const QByteArray &data);

    Q_DECLARE_TR_FUNCTIONS(airnote::TokenResponse)
};

} // namespace airnote
