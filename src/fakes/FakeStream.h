// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTimer>
#include <QUrl>

#include <chrono>

class QTcpSocket;

namespace airnote::fakes {

// The stations' audio on loopback: every /<key>-hifi.aac answers an endless
// WAV tone paced at playing speed, pitched by the key so that a switch of
// station can be heard. Faults stand in for a stream that is gone, hangs or
// sends garbage; dropEvery() cuts each connection after so much audio.
class FakeStream : public QObject
{
    Q_OBJECT

public:
    enum class Fault { none, notFound, hang, garbage };

    explicit FakeStream(QObject *parent = nullptr);
    ~FakeStream() override;

    bool listen();
    // Scheme, host and port: the streams' base.
    QUrl base() const;

    void setFault(Fault fault);
    // Zero: connections last as long as the listener stays.
    void dropEvery(std::chrono::milliseconds audio);
    int connectionCount() const;

    // The tone's pitch for a stream's name, in hertz.
    static double pitchOf(const QString &key);

Q_SIGNALS:
    // Once a request's header has arrived, with its path.
    void requested(const QString &path);

private:
    struct Listener
    {
        QByteArray request;
        double pitch = 0;
        qint64 framesSent = 0;
        QElapsedTimer clock;
        bool streaming = false;
    };

    void onNewConnection();
    void onReadyRead(QTcpSocket *socket);
    void answer(QTcpSocket *socket, Listener &listener);
    void feedListeners();
    void feed(QTcpSocket *socket, Listener &listener);

    QTcpServer m_server;
    QTimer m_pace;
    QHash<QTcpSocket *, Listener> m_listeners;
    Fault m_fault = Fault::none;
    qint64 m_dropAfterFrames = 0;
    int m_connections = 0;
};

} // namespace airnote::fakes
