// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QTcpServer>

#include <chrono>

namespace airnote {

// A TCP server for a service whose requests are all short: each connection
// may carry a few kilobytes and live a few seconds, and only so many may be
// open at once. QHttpServer would otherwise buffer any body it is sent and
// keep any connection a client holds open.
class BoundedTcpServer : public QTcpServer
{
    Q_OBJECT

public:
    static constexpr qint64 maximumBytesPerConnection = 16 * 1024;
    static constexpr std::chrono::seconds maximumConnectionLifetime{30};
    static constexpr int maximumOpenConnections = 64;

    using QTcpServer::QTcpServer;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    int m_openConnections = 0;
};

} // namespace airnote
