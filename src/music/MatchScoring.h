// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/CatalogMatch.h"

#include <QList>
#include <QString>

namespace airnote {

// Jaro similarity with Winkler's prefix bonus (scale 0.1, prefix of at most
// four), over user-perceived characters. Empty input scores 0.
double jaroWinkler(const QString &a, const QString &b);

// The songs that resemble the track: each scored 0.5 × artist similarity +
// 0.5 × title similarity over normalised texts, those at 0.5 or more kept,
// best first (equal scores in the songs' order), at most five.
QList<CatalogMatch> scoreMatches(const QString &artist, const QString &title, const QList<Song> &songs);

} // namespace airnote
