// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "fakes/LoopbackHttpServer.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QSize>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>

namespace airnote::fakes {

// FIP and its webradios on loopback: the live documents follow a programme
// that moves to its next item every period, and covers are drawn on request
// as PNG images.
class FakeStation : public QObject
{
    Q_OBJECT

public:
    struct Item
    {
        QString title;
        QString artist;
        std::optional<QString> songUuid;  // music only
        std::optional<QString> cover;

        bool operator==(const Item &) const = default;
    };

    struct Schedule
    {
        std::chrono::seconds period{30};
        std::function<QDateTime()> clock = &QDateTime::currentDateTimeUtc;
    };

    // The programme starts on air at the clock's current second and loops.
    explicit FakeStation(QList<Item> programme, QObject *parent = nullptr);
    FakeStation(QList<Item> programme, Schedule schedule, QObject *parent = nullptr);

    bool listen();
    QUrl liveURL() const;
    // Scheme, host and port of the cover images.
    QUrl imageBase() const;
    LoopbackHttpServer &server();

    const QList<Item> &programme() const;
    qsizetype indexOnAir() const;
    // FIP's by default; any other identifier is a webradio.
    QByteArray liveDocument(int liveId = mainLiveId) const;

    // The same identifier always gives the same picture; no text is drawn.
    static QImage coverImage(const QString &cover, QSize size);

private:
    static constexpr int mainLiveId = 7;

    HttpReply handle(const HttpRequest &request);
    HttpReply coverReply(const QString &cover, QSize size);
    qint64 slotOnAir() const;
    QJsonObject entry(qint64 slot) const;

    LoopbackHttpServer m_server;
    QList<Item> m_programme;
    Schedule m_schedule;
    QDateTime m_firstStart;
    QHash<QString, QByteArray> m_coverCache;
};

} // namespace airnote::fakes
