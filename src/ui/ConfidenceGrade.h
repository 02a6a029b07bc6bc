// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// How the preview sheet shows a candidate's confidence (0 to 1): the badge's
// text and its grade, which the sheet paints green, orange or red.
class ConfidenceGrade : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    enum Grade { High, Fair, Low };
    Q_ENUM(Grade)

    using QObject::QObject;

    // The percentage truncated toward zero, then "%": 0.857 reads "85%".
    Q_INVOKABLE static QString text(double confidence);
    // The thresholds compare the confidence itself, so 0.8499 is Fair
    // although its text rounds near 85.
    Q_INVOKABLE static airnote::ConfidenceGrade::Grade grade(double confidence);
};

} // namespace airnote
