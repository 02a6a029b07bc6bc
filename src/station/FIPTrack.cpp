// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FIPTrack.h"

#include "platform/Error.h"

#include <QHash>
#include <QJsonValue>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

QJsonValue requiredValue(const QJsonObject &object, QLatin1String key, QJsonValue::Type type)
{
    const QJsonValue value = object.value(key);
    if (value.type() != type)
        throw JsonError(u"track: \"%1\" is missing or has the wrong type"_s.arg(key));
    return value;
}

// Missing and null both mean absent.
std::optional<QString> optionalString(const QJsonObject &object, QLatin1String key)
{
    if (object.value(key).isNull() || object.value(key).isUndefined())
        return std::nullopt;
    return requiredValue(object, key, QJsonValue::String).toString();
}

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
    FIPTrack track;
    track.artist = requiredValue(object, "artist"_L1, QJsonValue::String).toString();
    track.title = requiredValue(object, "title"_L1, QJsonValue::String).toString();
    track.album = optionalString(object, "album"_L1);
    if (const std::optional<QString> text = optionalString(object, "artworkURL"_L1)) {
        const QUrl url(*text, QUrl::StrictMode);
        if (!url.isValid())
            throw JsonError(u"track: \"artworkURL\" is not a URL: %1"_s.arg(*text));
        track.artworkURL = url;
    }
    track.startedAt = parsedDate(requiredValue(object, "startedAt"_L1, QJsonValue::String).toString(), "startedAt"_L1);
    if (const std::optional<QString> text = optionalString(object, "endsAt"_L1))
        track.endsAt = parsedDate(*text, "endsAt"_L1);
    track.isMusicTrack = requiredValue(object, "isMusicTrack"_L1, QJsonValue::Bool).toBool();
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
