// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Chaos.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <chrono>

namespace airnote::sandbox {

namespace {

using namespace std::chrono_literals;

constexpr double calmFailureChance = 0.15;
constexpr double stormFailureChance = 0.9;
constexpr double stormStartChance = 0.12;
constexpr double stormEndChance = 0.3;
constexpr double slowDocumentChance = 0.15;
constexpr double musicFailureChance = 0.25;
// Slow, yet far below the 60 s after which the app's session gives up.
constexpr std::chrono::milliseconds quickestSlowReply = 1500ms;
constexpr std::chrono::milliseconds slowestSlowReply = 4000ms;
constexpr std::chrono::milliseconds tricklePace = 2000ms;
constexpr qsizetype oversizedBody = 6 * 1024 * 1024;
constexpr double markupChance = 0.3;

constexpr quint32 stationStream = 1;
constexpr quint32 musicStream = 2;

template<typename Kind>
struct Weighted
{
    Kind kind;
    int weight;
};

// A hang or a trickle costs the poller a whole transfer deadline, so they stay rare.
constexpr std::array stationFailures{
    Weighted{Chaos::StationReply::serverError, 6}, Weighted{Chaos::StationReply::notFound, 4},
    Weighted{Chaos::StationReply::garbage, 4},     Weighted{Chaos::StationReply::withoutNow, 5},
    Weighted{Chaos::StationReply::hang, 1},        Weighted{Chaos::StationReply::trickled, 2},
    Weighted{Chaos::StationReply::oversized, 2},   Weighted{Chaos::StationReply::redirectedAway, 2},
};

constexpr std::array musicFailures{
    Weighted{Chaos::MusicReply::serverError, 1}, Weighted{Chaos::MusicReply::unavailable, 1},
    Weighted{Chaos::MusicReply::notFound, 1},    Weighted{Chaos::MusicReply::garbage, 1},
    Weighted{Chaos::MusicReply::slowUnavailable, 1}, Weighted{Chaos::MusicReply::redirectedToTrap, 1},
};

QRandomGenerator stream(quint32 seed, quint32 name)
{
    const quint32 words[] = {seed, name};
    return QRandomGenerator(words);
}

bool chance(QRandomGenerator &random, double probability)
{
    return random.generateDouble() < probability;
}

template<typename Kind, std::size_t count>
Kind pick(QRandomGenerator &random, const std::array<Weighted<Kind>, count> &table)
{
    int total = 0;
    for (const Weighted<Kind> &entry : table)
        total += entry.weight;
    int drawn = random.bounded(total);
    for (const Weighted<Kind> &entry : table) {
        if (drawn < entry.weight)
            return entry.kind;
        drawn -= entry.weight;
    }
    Q_UNREACHABLE();
}

fakes::HttpReply slowed(fakes::HttpReply reply, QRandomGenerator &random)
{
    reply.delay = std::chrono::milliseconds(random.bounded(static_cast<int>(quickestSlowReply.count()),
                                                           static_cast<int>(slowestSlowReply.count()) + 1));
    return reply;
}

QByteArray withoutNow(const QByteArray &liveDocument)
{
    QJsonObject document = QJsonDocument::fromJson(liveDocument).object();
    document.remove(QStringLiteral("now"));
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

// Rich text would load the image and show the title bold and red.
QByteArray withMarkup(const QByteArray &liveDocument, const QUrl &trap)
{
    QJsonObject document = QJsonDocument::fromJson(liveDocument).object();
    QJsonObject now = document.value(QStringLiteral("now")).toObject();
    const QString image = QStringLiteral("<img src=\"%1\">").arg(trap.toString());
    for (const QString &line : {QStringLiteral("firstLine"), QStringLiteral("secondLine")})
        now.insert(line, QStringLiteral("<b style=\"color:red\">%1</b>%2").arg(now.value(line).toString(), image));
    document.insert(QStringLiteral("now"), now);
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

fakes::HttpReply oversized()
{
    // No Content-Length: the cap must hold while the body streams in.
    fakes::HttpReply reply = fakes::HttpReply::json(200, "{\"prev\":[],\"padding\":\"" + QByteArray(oversizedBody, 'x') + "\"}");
    reply.declaresLength = false;
    return reply;
}

fakes::HttpReply trickled(const QByteArray &liveDocument)
{
    fakes::HttpReply reply = fakes::HttpReply::json(200, liveDocument);
    reply.trickle = tricklePace;
    return reply;
}

} // namespace

Chaos::Chaos(quint32 seed)
    : m_station(stream(seed, stationStream))
    , m_music(stream(seed, musicStream))
{
}

Chaos::Decision<Chaos::StationReply> Chaos::nextStationReply(const QByteArray &liveDocument, const QUrl &trap)
{
    const StationReply kind = nextStationKind();
    switch (kind) {
    case StationReply::document:
        return {kind, fakes::HttpReply::json(200, liveDocument)};
    case StationReply::slowDocument:
        return {kind, slowed(fakes::HttpReply::json(200, liveDocument), m_station)};
    case StationReply::markupDocument:
        return {kind, fakes::HttpReply::json(200, withMarkup(liveDocument, trap))};
    case StationReply::serverError:
        return {kind, fakes::HttpReply::text(500, "internal server error")};
    case StationReply::notFound:
        return {kind, fakes::HttpReply::text(404, "not found")};
    case StationReply::garbage:
        // Cut anywhere before its end, a JSON object never closes.
        return {kind, fakes::HttpReply::json(200, liveDocument.left(m_station.bounded(static_cast<int>(liveDocument.size()))))};
    case StationReply::withoutNow:
        return {kind, fakes::HttpReply::json(200, withoutNow(liveDocument))};
    case StationReply::hang:
        return {kind, fakes::HttpReply::hangForever()};
    case StationReply::trickled:
        return {kind, trickled(liveDocument)};
    case StationReply::oversized:
        return {kind, oversized()};
    case StationReply::redirectedAway:
        return {kind, fakes::HttpReply::redirect(QUrl(QStringLiteral("http://fip.example.net/live")))};
    }
    Q_UNREACHABLE();
}

Chaos::Decision<Chaos::MusicReply> Chaos::nextMusicReply(const QUrl &trap)
{
    if (!chance(m_music, musicFailureChance))
        return {MusicReply::normal, {}};
    const MusicReply kind = pick(m_music, musicFailures);
    switch (kind) {
    case MusicReply::normal:
        break;
    case MusicReply::serverError:
        return {kind, fakes::HttpReply::text(500, "internal server error")};
    case MusicReply::unavailable:
        return {kind, fakes::HttpReply::text(503, "service unavailable")};
    case MusicReply::notFound:
        return {kind, fakes::HttpReply::json(404, R"({"errors":[{"status":"404","title":"Not Found"}]})")};
    case MusicReply::garbage:
        return {kind, fakes::HttpReply::json(200, R"({"data":[{"id":")")};
    case MusicReply::slowUnavailable:
        return {kind, slowed(fakes::HttpReply::text(503, "service unavailable"), m_music)};
    case MusicReply::redirectedToTrap:
        return {kind, fakes::HttpReply::redirect(trap)};
    }
    Q_UNREACHABLE();
}

Chaos::StationReply Chaos::nextStationKind()
{
    const bool fails = chance(m_station, m_stormy ? stormFailureChance : calmFailureChance);
    const StationReply kind = fails                                    ? pick(m_station, stationFailures)
                              : chance(m_station, slowDocumentChance) ? StationReply::slowDocument
                              : chance(m_station, markupChance)       ? StationReply::markupDocument
                                                                       : StationReply::document;
    m_stormy = chance(m_station, m_stormy ? 1.0 - stormEndChance : stormStartChance);
    return kind;
}

} // namespace airnote::sandbox
