// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MatchScoring.h"

#include "core/Normalization.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <vector>

namespace airnote {

namespace {

constexpr double artistWeight = 0.5;
constexpr double titleWeight = 0.5;
constexpr double acceptanceThreshold = 0.5;
constexpr qsizetype maximumMatches = 5;

// Each user-perceived character in canonical composed form, so that canonically
// equivalent characters compare equal.
std::vector<QString> characters(const QString &text)
{
    std::vector<QString> result;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    while (finder.toNextBoundary() != -1) {
        const qsizetype end = finder.position();
        result.push_back(text.mid(start, end - start).normalized(QString::NormalizationForm_C));
        start = end;
    }
    return result;
}

} // namespace

double jaroWinkler(const QString &a, const QString &b)
{
    if (a.isEmpty() || b.isEmpty())
        return 0.0;
    if (a == b)
        return 1.0;
    const std::vector<QString> s1 = characters(a);
    const std::vector<QString> s2 = characters(b);
    const auto len1 = static_cast<qsizetype>(s1.size());
    const auto len2 = static_cast<qsizetype>(s2.size());
    if (s1 == s2)
        return 1.0;

    const qsizetype reach = std::max(len1, len2) / 2 - 1;
    std::vector<bool> matched1(len1, false);
    std::vector<bool> matched2(len2, false);
    qsizetype m = 0;
    for (qsizetype i = 0; i < len1; ++i) {
        const qsizetype from = std::max<qsizetype>(0, i - reach);
        const qsizetype to = std::min(len2, i + reach + 1);
        for (qsizetype j = from; j < to; ++j) {
            if (!matched2[j] && s1[i] == s2[j]) {
                matched1[i] = true;
                matched2[j] = true;
                ++m;
                break;
            }
        }
    }
    if (m == 0)
        return 0.0;

    qsizetype k = 0;
    qsizetype t = 0;
    for (qsizetype i = 0; i < len1; ++i) {
        if (!matched1[i])
            continue;
        while (!matched2[k])
            ++k;
        if (s1[i] != s2[k])
            ++t;
        ++k;
    }

    const double matches = static_cast<double>(m);
    const double jaro = (matches / len1 + matches / len2 + (matches - 0.5 * t) / matches) / 3.0;
    const qsizetype prefixLimit = std::min({qsizetype(4), len1, len2});
    qsizetype prefix = 0;
    while (prefix < prefixLimit && s1[prefix] == s2[prefix])
        ++prefix;
    return jaro + prefix * 0.1 * (1.0 - jaro);
}

QList<CatalogMatch> scoreMatches(const QString &artist, const QString &title, const QList<Song> &songs)
{
    // The track's side is the same for every song: normalised once.
    const QString trackArtist = normalize(artist);
    const QString trackTitle = normalize(title);
    QList<CatalogMatch> kept;
    for (const Song &song : songs) {
        const double confidence = artistWeight * jaroWinkler(trackArtist, normalize(song.artistName))
            + titleWeight * jaroWinkler(trackTitle, normalize(song.title));
        if (confidence >= acceptanceThreshold)
            kept.append(CatalogMatch{.song = song, .confidence = confidence});
    }
    std::stable_sort(kept.begin(), kept.end(),
                     [](const CatalogMatch &a, const CatalogMatch &b) { return a.confidence > b.confidence; });
    if (kept.size() > maximumMatches)
        kept.resize(maximumMatches);
    return kept;
}

} // namespace airnote
