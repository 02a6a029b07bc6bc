// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// How the preview sheet shows a candidate's confidence (0 to 1): the badge's
// text and the name of its colour in the Theme.
class ConfidenceGrade : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // The percentage truncated toward zero, then "%": 0.857 reads "85%".
    Q_INVOKABLE static QString text(double confidence);
    // "green", "orange" or "red". The thresholds compare the confidence
    // itself, so 0.8499 is orange although its text rounds near 85.
    Q_INVOKABLE static QString colourName(double confidence);
};

} // namespace airnote
