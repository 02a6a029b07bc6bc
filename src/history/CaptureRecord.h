// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace airnote {

// One attempt to keep a track from the station: a save, a failed save or a
// track noted for later. The unit of the history file.
class CaptureRecord
{
public:
    enum class Status { saved, noMatch, saveFailed, logged };

    // Default-constructible for Qt containers and futures only.
    CaptureRecord() = default;
    CaptureRecord(QUuid id,
                  QDateTime timestamp,
                  QString fipArtist,
                  QString fipTitle,
                  std::optional<QString> fipAlbum,
                  std::optional<QString> appleSongID,
                  std::optional<double> confidence,
                  Status status,
                  std::optional<QString> errorMessage,
                  std::optional<QString> station = std::nullopt);

    QUuid id() const { return m_id; }
    QString idText() const;
    QDateTime timestamp() const { return m_timestamp; }
    // RFC 3339 in UTC with whole seconds, as in 2024-05-01T12:34:56Z.
    QString timestampText() const;
    QString fipArtist() const { return m_fipArtist; }
    QString fipTitle() const { return m_fipTitle; }
    std::optional<QString> fipAlbum() const { return m_fipAlbum; }
    std::optional<QString> appleSongID() const { return m_appleSongID; }
    std::optional<double> confidence() const { return m_confidence; }
    Status status() const { return m_status; }
    QString statusText() const;
    std::optional<QString> errorMessage() const { return m_errorMessage; }
    // The webradio's name; none for FIP itself, as in records written before the webradios.
    std::optional<QString> station() const { return m_station; }

    // Calls member(key, value) for each member of the JSON form, keys in
    // sorted order, absent fields left out; value is a QString or a double.
    template<typename Visitor>
    void forEachJsonMember(Visitor &&member) const
    {
        if (m_appleSongID)
            member(QLatin1StringView("appleSongID"), *m_appleSongID);
        if (m_confidence)
            member(QLatin1StringView("confidence"), *m_confidence);
        if (m_errorMessage)
            member(QLatin1StringView("errorMessage"), *m_errorMessage);
        if (m_fipAlbum)
            member(QLatin1StringView("fipAlbum"), *m_fipAlbum);
        member(QLatin1StringView("fipArtist"), m_fipArtist);
        member(QLatin1StringView("fipTitle"), m_fipTitle);
        member(QLatin1StringView("id"), idText());
        if (m_station)
            member(QLatin1StringView("station"), *m_station);
        member(QLatin1StringView("status"), statusText());
        member(QLatin1StringView("timestamp"), timestampText());
    }

    QJsonObject toJson() const;
    // Throws JsonError when the object is not a capture record.
    static CaptureRecord fromJson(const QJsonValue &value);

    bool operator==(const CaptureRecord &other) const = default;

private:
    QUuid m_id;
    QDateTime m_timestamp;
    QString m_fipArtist;
    QString m_fipTitle;
    std::optional<QString> m_fipAlbum;
    std::optional<QString> m_appleSongID;
    std::optional<double> m_confidence;
    Status m_status = Status::saved;
    std::optional<QString> m_errorMessage;
    std::optional<QString> m_station;
};

} // namespace airnote
