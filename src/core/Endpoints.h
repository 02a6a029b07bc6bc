// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QUrl>

namespace airnote {

// The outside hosts the program talks to. Each has a build-time default and an
// environment override; overrides must be https, or http on a loopback address,
// so a stray variable can never send credentials in clear over a network.
struct Endpoints
{
    QUrl stationURL;  // the live-metadata document itself
    QUrl imageBase;   // scheme and host of the station's cover images
    QUrl tokenURL;    // developer-token backend, path /api/token; empty when none is configured
    QUrl musicAPIBase;
    QUrl updateFeed;  // empty: no update checks
    QUrl streamBase;  // scheme and host of the stations' audio streams

    static Endpoints builtIn();

    // builtIn() with the AIRNOTE_* variables applied; throws ConfigurationError
    // naming the first refused variable.
    static Endpoints fromEnvironment();

    // The process-wide value, read from the environment on first use.
    static const Endpoints &current();
};

bool isAcceptableOverride(const QUrl &url);

} // namespace airnote
