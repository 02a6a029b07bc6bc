// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StationPayload.h"

#include "core/Endpoints.h"
#include "core/JsonFields.h"
#include "core/UrlPaths.h"
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

RawPayload decodeRawPayload(const QByteArray &body)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        failDecoding(u"%1 at offset %2"_s.arg(parseError.errorString()).arg(parseError.offset));
    if (!document.isObject())
        failDecoding(u"the document is not a JSON object"_s);
    const QJsonValue now = document.object().value("now"_L1);
    if (now.isUndefined() || now.isNull())
        return RawPayload{};
    if (!now.isObject())
        failDecoding(u"\"now\" is not an object"_s);
    const JsonFields entry(now.toObject(), u"now"_s);
    try {
        return RawPayload{.now = NowEntry{
            .firstLine = entry.optionalString("firstLine"_L1),
            .secondLine = entry.optionalString("secondLine"_L1),
            .songUuid = entry.optionalString("songUuid"_L1),
            .cover = entry.optionalString("cover"_L1),
            .startTime = entry.optionalInteger("startTime"_L1),
            .endTime = entry.optionalInteger("endTime"_L1),
        }};
    } catch (const JsonError &error) {
        failDecoding(error.localizedDescription());
    }
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
    // The cover goes in as given, untrimmed, as a path: '?' and '#' are escaped
    // rather than read as a query, and strict parsing refuses the rest of what
    // no address may hold.
    const QUrl url = withPathAppended(Endpoints::current().imageBase, "/pikapi/images/"_L1 + *cover + "/400x400"_L1,
                                      QUrl::StrictMode);
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
