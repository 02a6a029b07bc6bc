// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The scoring of one catalog search: 15 songs against the track on air, and
// normalize alone on a typical noisy title.
#include "music/MatchScoring.h"
#include "core/Normalization.h"

#include <benchmark/benchmark.h>

using namespace airnote;

namespace {

// Fifteen songs as a search for a FIP track returns them: versions of the
// same title, other artists, accents and bracketed noise.
QList<Song> searchResults()
{
    static const char *const titles[] = {
        "Harbour Lights", "Harbour Lights (Live at the Olympia)", "Harbour Lights (Remastered 2011)",
        "Harbour Lights [Live à Montréal]", "Harbour Lights (feat. Lou Vega)", "Harbor Light", "Lights of the Harbour",
        "Harbour", "Les Lumières du Port", "Harbour Lights - Radio Edit", "Harbour Lights (Deluxe Edition)",
        "Night Drive (feat. Lou Vega)", "Blue Hour (Remastered 2009)", "Chloé", "Harbour Lights (Bonus Track)"};
    static const char *const artists[] = {"Mira & Sol", "Mira & Sol", "Mira & Sol", "Mira et Sol", "Mira & Sol feat. Lou Vega",
                                          "Mira Sol", "The Harbour Band", "Sol", "Mirä & Söl", "Mira & Sol",
                                          "Mira & Sol", "Lou Vega", "Jean-Loup", "Chloé Ça", "Mira & Sol"};
    QList<Song> songs;
    for (int index = 0; index < 15; ++index) {
        songs.append(Song{.id = QString::number(1712000000 + index),
                          .title = QString::fromUtf8(titles[index]),
                          .artistName = QString::fromUtf8(artists[index]),
                          .albumTitle = {},
                          .artwork = {}});
    }
    return songs;
}

void scoreFifteenSongs(benchmark::State &state)
{
    const QList<Song> songs = searchResults();
    const QString artist = QStringLiteral("Mira & Sol");
    const QString title = QStringLiteral("Harbour Lights (Live)");
    for (auto _ : state)
        benchmark::DoNotOptimize(scoreMatches(artist, title, songs));
}
BENCHMARK(scoreFifteenSongs);

void normalizeTitle(benchmark::State &state)
{
    const QString title = QStringLiteral("Harbour Lights (feat. Lou Vega) [Live à l'Olympia]");
    for (auto _ : state)
        benchmark::DoNotOptimize(normalize(title));
}
BENCHMARK(normalizeTitle);

} // namespace

BENCHMARK_MAIN();
