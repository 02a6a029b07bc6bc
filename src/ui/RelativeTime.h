// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// The time elapsed since a moment, as the history list shows it:
// "à l'instant", "il y a 3 min", "il y a 2 h", "il y a 5 j", "il y a 4 mois", "il y a 2 ans".
class RelativeTime : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // A moment in the future (a clock set back) reads as "à l'instant".
    Q_INVOKABLE static QString since(const QDateTime &moment, const QDateTime &now);
};

} // namespace airnote
