// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/Song.h"
#include "platform/WebSession.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QList>
#include <QString>

#include <optional>

namespace airnote {

// Throws ServiceError::apiError unless the response is HTTP with a 2xx status;
// the body is kept whole in the error.
void validate(const WebResponse &response);

// The data as UTF-8 text, or nothing when it is not valid UTF-8.
std::optional<QString> decodedUTF8(const QByteArray &data);

// Readers of the web API's resource documents, {"data": [{"id": ..., "attributes": {...}}, ...]}.

// The data as a JSON document; throws JsonError with the parser's complaint.
QJsonDocument parsedJSON(const QByteArray &data);

// The "id" of the first element of "data"; nothing when the data is unreadable
// or of another shape.
std::optional<QString> firstResourceID(const QByteArray &data);

// The "id" of the first playlist whose name is exactly name; nothing when there
// is none or the document has another shape. Throws JsonError when the data is
// not JSON.
std::optional<QString> playlistIDNamed(const QByteArray &data, const QString &name);

// The songs of a catalog search reply (results.songs.data), in the catalog's
// order; resources without an id, a name or an artist are skipped. Throws
// JsonError when the data is not JSON.
QList<Song> catalogSongs(const QByteArray &data);

} // namespace airnote
