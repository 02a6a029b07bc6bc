// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StationPayload.h"

#include "platform/Endpoints.h"
#include "station/ParseError.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void failDecoding(const QString &description)
{
    throw ParseError::malformed(u"decode failed: "_s + description);
}

bool isAbsent(const QJsonValue &value)
{
    return value.isUndefined() || value.isNull();
}

std::optional<QString> decodeString(const QJsonObject &entry, QLatin1String key)
{
    const QJsonValue value = entry.value(key);
    if (isAbsent(value))
        return std::nullopt;
    if (!value.isString())
        failDecoding(u"\"now.%1\" is not a string"_s.arg(key));
    return value.toString();
}

std::optional<qint64> decodeInteger(const QJsonObject &entry, QLatin1String key)
{
    const QJsonValue value = entry.value(key);
    if (isAbsent(value))
        return std::nullopt;
    // toInteger() answers 0 for a fractional or out-of-range number, which the
    // round trip through double exposes.
    const qint64 integer = value.toInteger();
    if (!value.isDouble() || static_cast<double>(integer) != value.toDouble())
        failDecoding(u"\"now.%1\" is not an integer"_s.arg(key));
    return integer;
}

RawPayload decodeRawPayload(const QByteArray &body)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        failDecoding(u"%1 at offset %2"_s.arg(parseError.errorString()).arg(parseError.offset));
    if (!document.isObject())
        failDecoding(u"the document is not a JSON object"_s);
    const QJsonValue now = document.object().value("now"_L1);
    if (isAbsent(now))
        return RawPayload{};
    if (!now.isObject())
        failDecoding(u"\"now\" is not an object"_s);
    const QJsonObject entry = now.toObject();
    return RawPayload{.now = NowEntry{
        .firstLine = decodeString(entry, "firstLine"_L1),
        .secondLine = decodeString(entry, "secondLine"_L1),
        .songUuid = decodeString(entry, "songUuid"_L1),
        .cover = decodeString(entry, "cover"_L1),
        .startTime = decodeInteger(entry, "startTime"_L1),
        .endTime = decodeInteger(entry, "endTime"_L1),
    }};
}

QDateTime dateFromEpochSeconds(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

} // namespace

QUrl liveMetadataURL()
{
    static const QUrl url = Endpoints::current().stationURL;
    return url;
}

std::optional<QUrl> makeArtworkURL(std::optional<QString> cover)
{
    if (!cover || cover->isEmpty())
        return std::nullopt;
    QString base = Endpoints::current().imageBase.toString(QUrl::FullyEncoded);
    while (base.endsWith(u'/'))
        base.chop(1);
    // The cover goes in as given, neither trimmed nor escaped: strict parsing
    // then refuses what would not be a valid address.
    const QUrl url(base + "/pikapi/images/"_L1 + *cover + "/400x400"_L1, QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;
    return url;
}

FIPTrack parsePayload(const QByteArray &body)
{
    const RawPayload payload = decodeRawPayload(body);
    if (!payload.now)
        throw ParseError::malformed(u"missing 'now' object"_s);
    const NowEntry &now = *payload.now;
    return FIPTrack{
        .artist = now.secondLine.value_or(QString()).trimmed(),
        .title = now.firstLine.value_or(QString()).trimmed(),
        .album = std::nullopt,
        .artworkURL = makeArtworkURL(now.cover),
        .startedAt = now.startTime ? dateFromEpochSeconds(*now.startTime) : QDateTime::currentDateTimeUtc(),
        .endsAt = now.endTime ? std::optional(dateFromEpochSeconds(*now.endTime)) : std::nullopt,
        .isMusicTrack = now.songUuid.has_value(),
    };
}

} // namespace airnote
