// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "fakes/LoopbackHttpServer.h"

#include <QByteArray>
#include <QMetaEnum>
#include <QObject>
#include <QRandomGenerator>

namespace airnote::sandbox {

// Misbehaving services for soak runs, decided from a seed: one seed always
// gives the same replies in the same order. The station and Apple Music draw
// from separate streams, so what the listener does to one leaves the other's
// schedule alone. The station goes through calm spells and storms, so that
// failures come in streaks long enough to stretch the poller's waits.
class Chaos
{
    Q_GADGET

public:
    // markupDocument: a healthy document whose title and artist hold markup
    // pointing at the trap. trickled: a body a byte every few seconds;
    // oversized: one far over any cap; redirectedAway: to a plain-http host.
    enum class StationReply {
        document, slowDocument, markupDocument, serverError, notFound, garbage, withoutNow, hang, trickled,
        oversized, redirectedAway
    };
    Q_ENUM(StationReply)
    // redirectedToTrap: to another origin, which must never see the tokens.
    enum class MusicReply { normal, serverError, unavailable, notFound, garbage, slowUnavailable, redirectedToTrap };
    Q_ENUM(MusicReply)

    template<typename Kind>
    struct Decision
    {
        Kind kind;
        fakes::HttpReply reply;
    };

    explicit Chaos(quint32 seed);

    // liveDocument: what a healthy station would answer now. trap: an address
    // no well-behaved client ever reaches.
    Decision<StationReply> nextStationReply(const QByteArray &liveDocument, const QUrl &trap);
    // For normal, the fake's own answer stands and the reply is unused.
    Decision<MusicReply> nextMusicReply(const QUrl &trap);

    template<typename Kind>
    static QByteArray nameOf(Kind kind)
    {
        return QMetaEnum::fromType<Kind>().valueToKey(static_cast<int>(kind));
    }

private:
    StationReply nextStationKind();

    QRandomGenerator m_station;
    QRandomGenerator m_music;
    bool m_stormy = false;
};

} // namespace airnote::sandbox
