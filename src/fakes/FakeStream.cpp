// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FakeStream.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QtEndian>

#include <cmath>
#include <numbers>

namespace airnote::fakes {

namespace {

constexpr int sampleRate = 22050;  // mono, 16 bits: light on loopback and for the decoder
constexpr qint64 leadFrames = sampleRate / 2;  // sent ahead of time, as a real server's burst
constexpr double amplitude = 0.3 * 32767;

void appendLittleEndian(QByteArray &bytes, quint32 value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.append(char((value >> (8 * i)) & 0xff));
}

// A RIFF header whose sizes say "as long as it lasts", as streaming encoders write it.
QByteArray wavHeader()
{
    QByteArray header("RIFF");
    appendLittleEndian(header, 0xffffffff, 4);
    header.append("WAVEfmt ");
    appendLittleEndian(header, 16, 4);
    appendLittleEndian(header, 1, 2);  // PCM
    appendLittleEndian(header, 1, 2);  // mono
    appendLittleEndian(header, sampleRate, 4);
    appendLittleEndian(header, sampleRate * 2, 4);
    appendLittleEndian(header, 2, 2);
    appendLittleEndian(header, 16, 2);
    header.append("data");
    appendLittleEndian(header, 0xffffffff, 4);
    return header;
}

QByteArray tone(double pitch, qint64 firstFrame, qint64 frames)
{
    QByteArray samples(frames * 2, Qt::Uninitialized);
    auto *out = reinterpret_cast<qint16 *>(samples.data());
    for (qint64 i = 0; i < frames; ++i) {
        const double t = double(firstFrame + i) / sampleRate;
        qToLittleEndian<qint16>(qint16(amplitude * std::sin(2 * std::numbers::pi * pitch * t)), out + i);
    }
    return samples;
}

} // namespace

FakeStream::FakeStream(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &FakeStream::onNewConnection);
    m_pace.setInterval(50);
    connect(&m_pace, &QTimer::timeout, this, &FakeStream::feedListeners);
}

FakeStream::~FakeStream()
{
    // The sockets are the server's children and outlive the table: they must
    // not report their disconnection to it.
    for (QTcpSocket *socket : m_listeners.keys())
        socket->disconnect(this);
}

bool FakeStream::listen()
{
    return m_server.listen(QHostAddress::LocalHost);
}

QUrl FakeStream::base() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort()));
}

void FakeStream::setFault(Fault fault)
{
    m_fault = fault;
}

void FakeStream::dropEvery(std::chrono::milliseconds audio)
{
    m_dropAfterFrames = audio.count() * sampleRate / 1000;
}

int FakeStream::connectionCount() const
{
    return m_connections;
}

double FakeStream::pitchOf(const QString &key)
{
    int sum = 0;
    for (const QChar c : key)
        sum += c.unicode();
    return 220.0 * std::pow(2.0, (sum % 24) / 12.0);
}

void FakeStream::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        ++m_connections;
        m_listeners.insert(socket, Listener{});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_listeners.remove(socket);
            socket->deleteLater();
        });
    }
}

void FakeStream::onReadyRead(QTcpSocket *socket)
{
    auto listener = m_listeners.find(socket);
    if (listener == m_listeners.end() || listener->streaming)
        return;
    listener->request += socket->readAll();
    if (listener->request.contains("\r\n\r\n"))
        answer(socket, *listener);
}

void FakeStream::answer(QTcpSocket *socket, Listener &listener)
{
    const QString path = QString::fromLatin1(listener.request.split(' ').value(1));
    Q_EMIT requested(path);
    static const QRegularExpression streamPath(QStringLiteral("^/([a-z]+)-hifi\\.aac$"));
    const QRegularExpressionMatch match = streamPath.match(path);
    if (m_fault == Fault::hang)
        return;
    if (m_fault == Fault::notFound || !match.hasMatch()) {
        socket->write("HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        socket->disconnectFromHost();
        return;
    }
    if (m_fault == Fault::garbage) {
        // What a captive portal sends in place of the stream. Not random bytes:
        // those sometimes pass for MPEG audio frames and play as noise.
        const QByteArray page = "<!DOCTYPE html><html><body><p>Connectez-vous au Wi-Fi</p></body></html>\n";
        socket->write("HTTP/1.0 200 OK\r\nContent-Type: audio/aac\r\n\r\n" + page.repeated(512));
        socket->disconnectFromHost();
        return;
    }
    socket->write("HTTP/1.0 200 OK\r\nContent-Type: audio/x-wav\r\nCache-Control: no-cache\r\n\r\n" + wavHeader());
    listener.streaming = true;
    listener.pitch = pitchOf(match.captured(1));
    listener.clock.start();
    feed(socket, listener);
    m_pace.start();
}

void FakeStream::feedListeners()
{
    // feed() may close a socket, which removes it from the table.
    const QList<QTcpSocket *> sockets = m_listeners.keys();
    for (QTcpSocket *socket : sockets) {
        auto listener = m_listeners.find(socket);
        if (listener != m_listeners.end() && listener->streaming)
            feed(socket, *listener);
    }
    if (m_listeners.isEmpty())
        m_pace.stop();
}

void FakeStream::feed(QTcpSocket *socket, Listener &listener)
{
    qint64 due = listener.clock.elapsed() * sampleRate / 1000 + leadFrames;
    if (m_dropAfterFrames > 0)
        due = std::min(due, m_dropAfterFrames);
    if (due > listener.framesSent) {
        socket->write(tone(listener.pitch, listener.framesSent, due - listener.framesSent));
        listener.framesSent = due;
    }
    if (m_dropAfterFrames > 0 && listener.framesSent >= m_dropAfterFrames) {
        listener.streaming = false;
        socket->disconnectFromHost();
    }
}

} // namespace airnote::fakes
