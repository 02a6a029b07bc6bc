// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/Artwork.h"

#include <QMetaType>
#include <QString>
#include <QUrl>

#include <optional>

namespace airnote {

// A catalog song as the search returns it.
struct Song
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString title MEMBER title CONSTANT)
    Q_PROPERTY(QString artistName MEMBER artistName CONSTANT)
    Q_PROPERTY(QString albumTitle READ albumTitleOrEmpty CONSTANT)

public:
    QString id;
    QString title;
    QString artistName;
    std::optional<QString> albumTitle;
    std::optional<Artwork> artwork;

    QString albumTitleOrEmpty() const;
    // Empty when the song has no artwork.
    Q_INVOKABLE QUrl artworkURL(int width, int height) const;

    bool operator==(const Song &) const = default;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::Song)
