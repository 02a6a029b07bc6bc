// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "tokenserver/TokenCache.h"

#include <QHostAddress>
#include <QHttpServer>
#include <QObject>

namespace airnote {

// Answers GET /api/token with {"token", "expiresIn"} from the cache; other
// methods on that path get 405, other paths 404.
class TokenServer : public QObject
{
    Q_OBJECT

public:
    explicit TokenServer(TokenCache &cache, QObject *parent = nullptr);

    // Returns the bound port (useful with port 0); throws NetworkError when
    // the address cannot be bound.
    quint16 listen(const QHostAddress &address, quint16 port);

private:
    QHttpServerResponse tokenReply();

    TokenCache &m_cache;
    QHttpServer m_httpServer;
};

} // namespace airnote
