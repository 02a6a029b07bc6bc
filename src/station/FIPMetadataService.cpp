// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FIPMetadataService.h"

#include "core/Error.h"
#include "core/Logging.h"
#include "platform/WakeSource.h"

#include <QNetworkRequest>

#include <type_traits>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

NetworkError badServerResponse()
{
    return NetworkError(u"bad server response"_s);
}

// Throws NetworkError for an answer that is not HTTP 2xx, ParseError for a bad body.
FIPTrack trackFrom(const WebResponse &response)
{
    // A 404 and a 500 read alike, without Qt's per-status texts.
    if (!response.isSuccess())
        throw badServerResponse();
    return parsePayload(response.data);
}

} // namespace

template<typename Value>
void FIPMetadataService::publish(Value &field, std::type_identity_t<Value> value,
                                 void (FIPMetadataService::*changed)())
{
    if (field == value)
        return;
    field = value;
    Q_EMIT (this->*changed)();
}

FIPMetadataService::FIPMetadataService(QNetworkAccessManager *session, WakeSource *wakeSource, QUrl documentURL,
                                       QObject *parent)
    : QObject(parent)
    , m_web(session)
    , m_wakeSource(wakeSource)
    , m_mainDocumentURL(documentURL)
    , m_documentURL(std::move(documentURL))
{
    connect(&m_wait, &CancellableWait::ended, this, &FIPMetadataService::isWaitingChanged);
}

FIPMetadataService::~FIPMetadataService()
{
    // The loop's frames would otherwise stay suspended for good. Both calls
    // resume the loop before returning, while every member is still alive.
    m_stopping = true;
    m_web.abortAll();
    m_wait.finishNow();
}

const std::optional<FIPTrack> &FIPMetadataService::current() const
{
    return m_current;
}

bool FIPMetadataService::hasCurrent() const
{
    return m_current.has_value();
}

FIPTrack FIPMetadataService::currentForDisplay() const
{
    return m_current.value_or(FIPTrack());
}

bool FIPMetadataService::isReachable() const
{
    return m_isReachable;
}

bool FIPMetadataService::isFetching() const
{
    return m_isFetching;
}

qint64 FIPMetadataService::consecutiveFailures() const
{
    return m_consecutiveFailures;
}

bool FIPMetadataService::isWaiting() const
{
    return m_wait.isPending();
}

void FIPMetadataService::start()
{
    if (m_started)
        return;
    m_started = true;
    if (m_wakeSource)
        connect(m_wakeSource, &WakeSource::woke, this, &FIPMetadataService::handleWake);
    // Fire and forget: the loop runs for the life of the service.
    runLoop();
}

void FIPMetadataService::follow(const Station &station)
{
    if (station == m_station)
        return;
    m_station = station;
    m_documentURL = station.metadataURL(m_mainDocumentURL);
    ++m_generation;
    qCInfo(fipLogger).noquote() << "Following" << station.name;
    if (m_current) {
        m_current.reset();
        Q_EMIT currentChanged();
    }
    publish(m_consecutiveFailures, 0, &FIPMetadataService::consecutiveFailuresChanged);
    publish(m_isReachable, true, &FIPMetadataService::isReachableChanged);
    // Both resume the loop, which then polls the new document.
    m_web.abortAll();
    m_wait.cancel();
}

const Station &FIPMetadataService::station() const
{
    return m_station;
}

void FIPMetadataService::cutWaitShort()
{
    m_wait.cancel();
}

void FIPMetadataService::handleWake()
{
    // Only the counter: the wait in progress and isReachable stay as they are.
    publish(m_consecutiveFailures, 0, &FIPMetadataService::consecutiveFailuresChanged);
    qCInfo(fipLogger) << "Wake detected — resetting failure counter";
}

void FIPMetadataService::setWaitUnit(std::chrono::milliseconds unit)
{
    m_waitUnit = unit;
}

QCoro::Task<> FIPMetadataService::runLoop()
{
    for (;;) {
        const quint64 generation = m_generation;
        co_await poll();
        if (m_stopping)
            co_return;
        if (generation != m_generation)
            continue;
        const qint64 seconds = pollIntervalSeconds(m_consecutiveFailures);
        auto waiting = m_wait.wait(m_waitUnit * seconds);
        Q_EMIT isWaitingChanged();
        Q_EMIT waitStarted(seconds);
        co_await waiting;
        if (m_stopping)
            co_return;
    }
}

QCoro::Task<> FIPMetadataService::poll()
{
    publish(m_isFetching, true, &FIPMetadataService::isFetchingChanged);
    const quint64 generation = m_generation;
    try {
        const WebResponse response = co_await m_web.send(WebRequest(QNetworkRequest(m_documentURL)));
        if (m_stopping)
            co_return;
        if (generation == m_generation)
            recordSuccess(trackFrom(response));
    } catch (const Error &error) {
        if (m_stopping)
            co_return;
        if (generation == m_generation)
            recordFailure(error);
    }
    publish(m_isFetching, false, &FIPMetadataService::isFetchingChanged);
}

void FIPMetadataService::recordSuccess(FIPTrack track)
{
    if (!m_station.isMain())
        track.webradio = m_station.name;
    m_current = std::move(track);
    Q_EMIT currentChanged();
    publish(m_isReachable, true, &FIPMetadataService::isReachableChanged);
    publish(m_consecutiveFailures, 0, &FIPMetadataService::consecutiveFailuresChanged);
}

void FIPMetadataService::recordFailure(const Error &error)
{
    publish(m_consecutiveFailures, m_consecutiveFailures + 1, &FIPMetadataService::consecutiveFailuresChanged);
    if (m_consecutiveFailures >= 3)
        publish(m_isReachable, false, &FIPMetadataService::isReachableChanged);
    qCCritical(fipLogger).noquote() << "Poll failed:" << error.localizedDescription();
}

qint64 FIPMetadataService::pollIntervalSeconds(qint64 consecutiveFailures)
{
    if (consecutiveFailures <= 2)
        return 5;
    if (consecutiveFailures == 3)
        return 30;
    return 60;
}

} // namespace airnote
