// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ConfidenceGrade.h"

namespace airnote {

namespace {

constexpr double highConfidence = 0.85;
constexpr double fairConfidence = 0.5;

} // namespace

QString ConfidenceGrade::text(double confidence)
{
    return QString::number(static_cast<int>(confidence * 100)) + QLatin1Char('%');
}

ConfidenceGrade::Grade ConfidenceGrade::grade(double confidence)
{
    if (confidence >= highConfidence)
        return High;
    if (confidence >= fairConfidence)
        return Fair;
    return Low;
}

} // namespace airnote
