// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Normalization.h"

#include <QRegularExpression>

#include <array>

namespace airnote {

namespace {

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

} // namespace airnote
