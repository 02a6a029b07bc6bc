// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CaptureStore.h"

#include "core/Normalization.h"

#include <QCoroFuture>
#include <QDir>
#include <QStandardPaths>
#include <QUnhandledException>
#include <QtConcurrent/QtConcurrentRun>

#include <cmath>
#include <utility>

namespace airnote {

namespace {

// QtConcurrent wraps exceptions that are not QException; hand the caller the
// original error.
template<typename T>
QCoro::Task<T> finished(QFuture<T> future)
{
    try {
        co_return co_await future;
    } catch (const QUnhandledException &unhandled) {
        std::rethrow_exception(unhandled.exception());
    }
}

} // namespace

QString CaptureStore::defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Airnote");
}

CaptureStore::CaptureStore(const QString &directory, Clock clock)
    : m_file(QDir(directory).filePath(QStringLiteral("captures.json")))
    , m_clock(std::move(clock))
{
    QDir().mkpath(directory);
    m_worker.setMaxThreadCount(1);
}

CaptureStore::~CaptureStore()
{
    m_worker.waitForDone();
}

QCoro::Task<void> CaptureStore::append(CaptureRecord record)
{
    return finished(QtConcurrent::run(&m_worker, [this, record] { appendNow(record); }));
}

QCoro::Task<std::optional<CaptureRecord>> CaptureStore::recentSave(QString artist, QString title, double within)
{
    // Records keep whole seconds, so the cutoff does too: a save 299.6 s ago,
    // stored a fraction earlier, is still in a 300 s window.
    const QDateTime exactCutoff = m_clock().addMSecs(-std::llround(within * 1000));
    const QDateTime cutoff = QDateTime::fromSecsSinceEpoch(exactCutoff.toSecsSinceEpoch(), Qt::UTC);
    return finished(QtConcurrent::run(&m_worker, [this, artist, title, cutoff] {
        return findRecentSave(artist, title, cutoff);
    }));
}

QCoro::Task<QList<CaptureRecord>> CaptureStore::loadAll()
{
    return finished(QtConcurrent::run(&m_worker, [this] { return history(); }));
}

void CaptureStore::appendNow(const CaptureRecord &record)
{
    QList<CaptureRecord> records = m_file.read();
    records.append(record);
    // Memory takes the record even if the write below fails.
    m_cache = records;
    m_file.write(records);
}

std::optional<CaptureRecord> CaptureStore::findRecentSave(const QString &artist,
                                                          const QString &title,
                                                          const QDateTime &cutoff)
{
    const QString normalizedArtist = normalize(artist);
    const QString normalizedTitle = normalize(title);
    for (const CaptureRecord &record : history()) {
        if (record.status() == CaptureRecord::Status::saved
            && record.timestamp() >= cutoff
            && normalize(record.fipArtist()) == normalizedArtist
            && normalize(record.fipTitle()) == normalizedTitle)
            return record;
    }
    return std::nullopt;
}

const QList<CaptureRecord> &CaptureStore::history()
{
    if (!m_cache)
        m_cache = m_file.read();
    return *m_cache;
}

} // namespace airnote
