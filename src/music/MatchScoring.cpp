// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MatchScoring.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <vector>

namespace airnote {

namespace {

constexpr double artistWeight = 0.5;
constexpr double titleWeight = 0.5;
constexpr double acceptanceThreshold = 0.5;
constexpr qsizetype maximumMatches = 5;

// \s stands for any Unicode blank, as in ICU and ECMAScript, not ASCII only.
QRegularExpression noisePattern(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::UseUnicodePropertiesOption);
}

const std::array<QRegularExpression, 7> &titleNoisePatterns()
{
    // Compiled once; lower-case patterns, applied after lower-casing, in this order.
    static const std::array<QRegularExpression, 7> patterns{
        noisePattern(QStringLiteral(R"(\s*\(feat\.?[^)]*\))")),
        noisePattern(QStringLiteral(R"(\s*\(ft\.?[^)]*\))")),
        noisePattern(QStringLiteral(R"(\s*\(remaster(ed)?[^)]*\))")),
        noisePattern(QStringLiteral(R"(\s*\(deluxe[^)]*\))")),
        noisePattern(QStringLiteral(R"(\s*\(bonus[^)]*\))")),
        noisePattern(QStringLiteral(R"(\s*\[live[^\]]*\])")),
        noisePattern(QStringLiteral(R"(\s*\(live[^)]*\))")),
    };
    return patterns;
}

// Like the strip-diacritics transform: decompose, drop the non-spacing marks
// that decomposition separated, recompose.
QString stripDiacritics(const QString &text)
{
    const QList<uint> decomposed = text.normalized(QString::NormalizationForm_D).toUcs4();
    QString stripped;
    stripped.reserve(decomposed.size());
    for (const char32_t scalar : decomposed) {
        if (QChar::category(scalar) != QChar::Mark_NonSpacing)
            stripped.append(QChar::fromUcs4(scalar));
    }
    return stripped.normalized(QString::NormalizationForm_C);
}

bool isKept(char32_t scalar)
{
    if (scalar == U'\t')
        return true;
    switch (QChar::category(scalar)) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Number_DecimalDigit:
    case QChar::Number_Letter:
    case QChar::Number_Other:
    case QChar::Separator_Space:
        return true;
    default:
        return false;
    }
}

QString keepAlphanumericsAndBlanks(const QString &text)
{
    QString kept;
    kept.reserve(text.size());
    for (const char32_t scalar : text.toUcs4()) {
        if (isKept(scalar))
            kept.append(QString::fromUcs4(&scalar, 1));
    }
    return kept;
}

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

QString normalize(const QString &text)
{
    QString result = text.toLower();
    for (const QRegularExpression &pattern : titleNoisePatterns()) {
        if (pattern.isValid())
            result.remove(pattern);
    }
    // simplified() splits at every Unicode blank and joins the pieces with single spaces.
    return keepAlphanumericsAndBlanks(stripDiacritics(result)).simplified();
}

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
