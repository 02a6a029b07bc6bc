// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "tokenserver/TokenCache.h"

#include <QHostAddress>
#include <QHttpServer>
#include <QObject>
#include <QStringList>

namespace airnote {

// Answers GET /api/token with {"token", "expiresIn"} from the cache; other
// methods on that path get 405, other paths 404. A request naming a host the
// server does not serve gets 421: a page whose name an attacker made resolve
// to this server (DNS rebinding) cannot read a token.
class TokenServer : public QObject
{
    Q_OBJECT

public:
    // hostNames: the names clients reach the server by (behind a TLS proxy,
    // the proxy's name), besides its address and "localhost".
    explicit TokenServer(TokenCache &cache, QStringList hostNames = {}, QObject *parent = nullptr);

    // Returns the bound port (useful with port 0); throws NetworkError when
    // the address cannot be bound.
    quint16 listen(const QHostAddress &address, quint16 port);

private:
    bool servesHost(const QByteArray &hostHeader) const;
    QHttpServerResponse tokenReply(const QHttpServerRequest &request);

    TokenCache &m_cache;
    QStringList m_hostNames;
    QHostAddress m_address;
    QHttpServer m_httpServer;
};

} // namespace airnote
