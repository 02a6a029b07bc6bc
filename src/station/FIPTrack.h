// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QUrl>

#include <optional>

namespace airnote {

// The track (or programme segment) on air: a plain value compared by all its fields.
struct FIPTrack
{
    Q_GADGET
    Q_PROPERTY(QString artist MEMBER artist CONSTANT)
    Q_PROPERTY(QString title MEMBER title CONSTANT)
    Q_PROPERTY(QString album READ albumOrEmpty CONSTANT)
    Q_PROPERTY(QUrl artworkURL READ artworkURLOrEmpty CONSTANT)
    Q_PROPERTY(bool isMusicTrack MEMBER isMusicTrack CONSTANT)

public:
    QString artist;
    QString title;
    std::optional<QString> album;
    std::optional<QUrl> artworkURL;
    QDateTime startedAt;
    std::optional<QDateTime> endsAt;
    bool isMusicTrack = false;
    // The webradio it plays on; none on FIP itself.
    std::optional<QString> webradio;

    QString albumOrEmpty() const;
    QUrl artworkURLOrEmpty() const;

    bool operator==(const FIPTrack &other) const = default;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::FIPTrack)
