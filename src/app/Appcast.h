// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Error.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <compare>
#include <optional>

namespace airnote {

// One release announced by a Sparkle-format appcast.
struct AppcastItem
{
    QString title;
    QString version;             // sparkle:version, the machine-comparable build version
    QString shortVersionString;  // sparkle:shortVersionString, what the listener reads
    QUrl downloadURL;            // the enclosure's url
    QString operatingSystem;     // the enclosure's sparkle:os; empty means any

    // The version to show and to compare with the running program's own.
    QString displayVersion() const;
    bool isForThisSystem() const;

    bool operator==(const AppcastItem &) const = default;
};

// An appcast that is not well-formed XML; keeps the reader's text.
class AppcastError : public Error
{
public:
    using Error::Error;
};

// Every item of the feed, in document order. Throws AppcastError.
QList<AppcastItem> parseAppcast(const QByteArray &xml);

// Dotted versions, component by component: numbers as numbers, anything else
// as text; a missing component counts as "0", so 1.2 equals 1.2.0.
std::strong_ordering compareVersions(const QString &left, const QString &right);

// The item with the highest version among those this system can install.
std::optional<AppcastItem> newestItem(const QList<AppcastItem> &items);

} // namespace airnote
