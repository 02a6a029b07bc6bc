// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "station/FIPTrack.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace airnote {

// The "now" object of the station's live document; every key may be missing or null.
struct NowEntry
{
    std::optional<QString> firstLine;   // the title
    std::optional<QString> secondLine;  // the artist
    std::optional<QString> songUuid;    // present only for music
    std::optional<QString> cover;
    std::optional<qint64> startTime;    // seconds since the Unix epoch
    std::optional<qint64> endTime;
};

// The station's live document; only "now" is read.
struct RawPayload
{
    std::optional<NowEntry> now;
};

// The live document's address, read once from the endpoints.
QUrl liveMetadataURL();

// The 400x400 cover on the station image host; absent for a missing or empty
// cover, or one that does not form a URL.
std::optional<QUrl> makeArtworkURL(std::optional<QString> cover);

// Throws ParseError: "decode failed: ..." for a body that is not the expected
// JSON shape, "missing 'now' object" when "now" is missing or null.
FIPTrack parsePayload(const QByteArray &body);

} // namespace airnote
