// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FIPTrack.h"

#include "core/Error.h"
#include "core/JsonFields.h"

#include <QHash>
#include <QJsonValue>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODateWithMs);
}

QDateTime parsedDate(const QString &text, QLatin1String key)
{
    const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!date.isValid())
        throw JsonError(u"track: \"%1\" is not an RFC 3339 date: %2"_s.arg(key, text));
    return date.toUTC();
}

} // namespace

QString FIPTrack::albumOrEmpty() const
{
    return album.value_or(QString());
}

QUrl FIPTrack::artworkURLOrEmpty() const
{
    return artworkURL.value_or(QUrl());
}

QJsonObject FIPTrack::toJson() const
{
    QJsonObject object{
        {u"artist"_s, artist},
        {u"title"_s, title},
        {u"startedAt"_s, dateText(startedAt)},
        {u"isMusicTrack"_s, isMusicTrack},
    };
    if (album)
        object.insert("album"_L1, *album);
    if (artworkURL)
        object.insert("artworkURL"_L1, artworkURL->toString(QUrl::FullyEncoded));
    if (endsAt)
        object.insert("endsAt"_L1, dateText(*endsAt));
    return object;
}

FIPTrack FIPTrack::fromJson(const QJsonObject &object)
{
    const JsonFields fields(object, u"track"_s);
    FIPTrack track;
    track.artist = fields.string("artist"_L1);
    track.title = fields.string("title"_L1);
    track.album = fields.optionalString("album"_L1);
    if (const std::optional<QString> text = fields.optionalString("artworkURL"_L1)) {
        const QUrl url(*text, QUrl::StrictMode);
        if (!url.isValid())
            throw JsonError(u"track: \"artworkURL\" is not a URL: %1"_s.arg(*text));
        track.artworkURL = url;
    }
    track.startedAt = parsedDate(fields.string("startedAt"_L1), "startedAt"_L1);
    if (const std::optional<QString> text = fields.optionalString("endsAt"_L1))
        track.endsAt = parsedDate(*text, "endsAt"_L1);
    track.isMusicTrack = fields.boolean("isMusicTrack"_L1);
    return track;
}

size_t qHash(const FIPTrack &track, size_t seed)
{
    // A presence marker before each optional keeps "absent" apart from an empty value.
    return qHashMulti(seed,
                      track.artist,
                      track.title,
                      track.album.has_value(), track.albumOrEmpty(),
                      track.artworkURL.has_value(), track.artworkURLOrEmpty(),
                      track.startedAt,
                      track.endsAt.has_value(), track.endsAt.value_or(QDateTime()),
                      track.isMusicTrack);
}

} // namespace airnote
