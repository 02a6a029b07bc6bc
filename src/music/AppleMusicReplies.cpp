// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AppleMusicReplies.h"

#include "core/Error.h"
#include "core/JsonFields.h"
#include "music/ServiceError.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringDecoder>

namespace airnote {

namespace {

// The elements of object["data"], or nothing unless it is an array of objects.
std::optional<QList<QJsonObject>> resources(const QJsonObject &object)
{
    const QJsonValue data = object.value(QLatin1String("data"));
    if (!data.isArray())
        return std::nullopt;
    QList<QJsonObject> elements;
    for (const QJsonValue &element : data.toArray()) {
        if (!element.isObject())
            return std::nullopt;
        elements.append(element.toObject());
    }
    return elements;
}

std::optional<QString> text(const QJsonObject &object, QLatin1String key)
{
    return JsonFields::stringIfAny(object, key);
}

std::optional<Song> song(const QJsonObject &resource)
{
    const QJsonObject attributes = resource.value(QLatin1String("attributes")).toObject();
    const std::optional<QString> id = text(resource, QLatin1String("id"));
    const std::optional<QString> title = text(attributes, QLatin1String("name"));
    const std::optional<QString> artistName = text(attributes, QLatin1String("artistName"));
    if (!id || !title || !artistName)
        return std::nullopt;
    const std::optional<QString> artworkTemplate =
        text(attributes.value(QLatin1String("artwork")).toObject(), QLatin1String("url"));
    return Song{
        .id = *id,
        .title = *title,
        .artistName = *artistName,
        .albumTitle = text(attributes, QLatin1String("albumName")),
        .artwork = artworkTemplate ? std::optional<Artwork>(Artwork(*artworkTemplate)) : std::nullopt,
    };
}

} // namespace

QJsonDocument parsedJSON(const QByteArray &data)
{
    QJsonParseError parseError;
    QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw JsonError(QCoreApplication::translate("airnote::AppleMusicReplies", "JSON illisible (%1, position %2)")
                            .arg(parseError.errorString())
                            .arg(parseError.offset));
    return document;
}

std::optional<QString> firstResourceID(const QByteArray &data)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    const std::optional<QList<QJsonObject>> elements = resources(document.object());
    if (!elements || elements->isEmpty())
        return std::nullopt;
    return text(elements->first(), QLatin1String("id"));
}

std::optional<QString> playlistIDNamed(const QByteArray &data, const QString &name)
{
    const std::optional<QList<QJsonObject>> elements = resources(parsedJSON(data).object());
    if (!elements)
        return std::nullopt;
    for (const QJsonObject &playlist : *elements) {
        const std::optional<QString> id = text(playlist, QLatin1String("id"));
        const QJsonValue attributes = playlist.value(QLatin1String("attributes"));
        if (id && attributes.isObject() && text(attributes.toObject(), QLatin1String("name")) == name)
            return id;
    }
    return std::nullopt;
}

QList<Song> catalogSongs(const QByteArray &data)
{
    const QJsonObject songs =
        parsedJSON(data).object().value(QLatin1String("results")).toObject().value(QLatin1String("songs")).toObject();
    QList<Song> result;
    for (const QJsonObject &resource : resources(songs).value_or(QList<QJsonObject>())) {
        if (std::optional<Song> parsedSong = song(resource))
            result.append(*std::move(parsedSong));
    }
    return result;
}

void validate(const WebResponse &response)
{
    if (!response.statusCode)
        throw ServiceError::apiError(0, QStringLiteral("non-HTTP response"));
    if (response.isSuccess())
        return;
    const std::optional<QString> text = response.data.isEmpty() ? std::nullopt : decodedUTF8(response.data);
    throw ServiceError::apiError(*response.statusCode, text.value_or(QStringLiteral("<binary or empty>")));
}

std::optional<QString> decodedUTF8(const QByteArray &data)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace airnote
