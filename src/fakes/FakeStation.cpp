// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FakeStation.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLinearGradient>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>

namespace airnote::fakes {

namespace {

constexpr int largestCoverSide = 2000;
constexpr qreal drawingSide = 400;

QJsonValue optionalText(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// A record with its grooves and label over a gradient, and a row of level
// bars: colours and proportions come from the identifier's digest.
void drawCover(QPainter &painter, const QByteArray &digest)
{
    const auto byte = [&](int index) { return static_cast<quint8>(digest.at(index)); };
    const int hue = (byte(0) << 8 | byte(1)) % 360;

    QLinearGradient background(0, 0, drawingSide, drawingSide);
    background.setColorAt(0, QColor::fromHsv(hue, 150, 235));
    background.setColorAt(1, QColor::fromHsv((hue + 50) % 360, 210, 110));
    painter.fillRect(QRectF(0, 0, drawingSide, drawingSide), background);

    const QPointF centre(150 + byte(2) % 100, 170 + byte(3) % 40);
    const qreal radius = 120 + byte(4) % 30;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(20, 20, 24));
    painter.drawEllipse(centre, radius, radius);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 40), 1.5));
    const int grooves = 3 + byte(5) % 5;
    for (int groove = 1; groove <= grooves; ++groove) {
        const qreal grooveRadius = radius * (0.45 + 0.5 * groove / grooves);
        painter.drawEllipse(centre, grooveRadius, grooveRadius);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((hue + 180) % 360, 190, 230));
    painter.drawEllipse(centre, radius * 0.3, radius * 0.3);
    painter.setBrush(QColor(20, 20, 24));
    painter.drawEllipse(centre, 5, 5);

    painter.setBrush(QColor(255, 255, 255, 170));
    const int bars = 5 + byte(6) % 5;
    const qreal barWidth = 14;
    for (int bar = 0; bar < bars; ++bar) {
        const qreal height = 12 + byte(7 + bar) % 48;
        painter.drawRoundedRect(QRectF(24 + bar * (barWidth + 6), drawingSide - 24 - height, barWidth, height), 3, 3);
    }
}

} // namespace

FakeStation::FakeStation(QList<Item> programme, QObject *parent)
    : FakeStation(std::move(programme), Schedule{}, parent)
{
}

FakeStation::FakeStation(QList<Item> programme, Schedule schedule, QObject *parent)
    : QObject(parent)
    , m_programme(std::move(programme))
    , m_schedule(std::move(schedule))
{
    Q_ASSERT(!m_programme.isEmpty() && m_schedule.period.count() > 0);
    // Whole seconds, as the station's times are.
    m_firstStart = QDateTime::fromSecsSinceEpoch(m_schedule.clock().toSecsSinceEpoch(), Qt::UTC);
    m_server.setHandler([this](const HttpRequest &request) { return handle(request); });
}

bool FakeStation::listen()
{
    return m_server.listen();
}

QUrl FakeStation::liveURL() const
{
    return m_server.url(QStringLiteral("/livemeta/live/%1/webrf_fip_player").arg(mainLiveId));
}

QUrl FakeStation::imageBase() const
{
    return m_server.url();
}

LoopbackHttpServer &FakeStation::server()
{
    return m_server;
}

const QList<FakeStation::Item> &FakeStation::programme() const
{
    return m_programme;
}

qsizetype FakeStation::indexOnAir() const
{
    return slotOnAir() % m_programme.size();
}

QByteArray FakeStation::liveDocument(int liveId) const
{
    // Each webradio plays the same programme, a few items apart from FIP.
    const qint64 slot = slotOnAir() + (liveId - mainLiveId);
    QJsonArray previous;
    if (slot > 0)
        previous.append(entry(slot - 1));
    const QDateTime end = m_firstStart.addSecs((slot + 1) * m_schedule.period.count());
    const qint64 untilEnd = std::max<qint64>(m_schedule.clock().msecsTo(end), 0);
    const QJsonObject document{{QStringLiteral("prev"), previous},
                               {QStringLiteral("now"), entry(slot)},
                               {QStringLiteral("next"), QJsonArray{entry(slot + 1)}},
                               {QStringLiteral("delayToRefresh"), untilEnd}};
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

QImage FakeStation::coverImage(const QString &cover, QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size.width() / drawingSide, size.height() / drawingSide);
    drawCover(painter, QCryptographicHash::hash(cover.toUtf8(), QCryptographicHash::Sha256));
    return image;
}

HttpReply FakeStation::handle(const HttpRequest &request)
{
    static const QRegularExpression coverPath(QStringLiteral(R"(^/pikapi/images/([^/]+)/(\d{1,4})x(\d{1,4})$)"));
    static const QRegularExpression livePath(QStringLiteral(R"(^/livemeta/live/(\d{1,4})/webrf_fip_player$)"));
    if (request.method != "GET")
        return HttpReply::text(405, "method not allowed");
    if (const QRegularExpressionMatch live = livePath.match(request.path); live.hasMatch())
        return HttpReply::json(200, liveDocument(live.captured(1).toInt()));
    const QRegularExpressionMatch cover = coverPath.match(request.path);
    const QSize size(cover.captured(2).toInt(), cover.captured(3).toInt());
    if (!cover.hasMatch() || size.isEmpty() || size.width() > largestCoverSide || size.height() > largestCoverSide)
        return HttpReply::text(404, "not found");
    return coverReply(cover.captured(1), size);
}

HttpReply FakeStation::coverReply(const QString &cover, QSize size)
{
    const QString key = QStringLiteral("%1/%2x%3").arg(cover).arg(size.width()).arg(size.height());
    auto cached = m_coverCache.find(key);
    if (cached == m_coverCache.end())
        cached = m_coverCache.insert(key, pngBytes(coverImage(cover, size)));
    return HttpReply{.status = 200, .body = *cached, .contentType = "image/png"};
}

qint64 FakeStation::slotOnAir() const
{
    const qint64 elapsed = m_firstStart.secsTo(m_schedule.clock());
    return std::max<qint64>(elapsed, 0) / m_schedule.period.count();
}

QJsonObject FakeStation::entry(qint64 slot) const
{
    const Item &item = m_programme.at(slot % m_programme.size());
    const QDateTime start = m_firstStart.addSecs(slot * m_schedule.period.count());
    return {{QStringLiteral("firstLine"), item.title},
            {QStringLiteral("secondLine"), item.artist},
            {QStringLiteral("songUuid"), optionalText(item.songUuid)},
            {QStringLiteral("cover"), optionalText(item.cover)},
            {QStringLiteral("startTime"), start.toSecsSinceEpoch()},
            {QStringLiteral("endTime"), start.addSecs(m_schedule.period.count()).toSecsSinceEpoch()}};
}

} // namespace airnote::fakes
