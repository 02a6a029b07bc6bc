// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "history/CaptureFile.h"
#include "history/CaptureRecord.h"

#include "core/Coroutines.h"
#include <QDateTime>
#include <QList>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <optional>

namespace airnote {

// The capture history, kept in one JSON file. Its operations run one at a
// time, in the order they were called, on a worker thread of its own; callers
// await them, so nothing on the calling thread waits on the disk.
class CaptureStore
{
public:
    using Clock = std::function<QDateTime()>;

    // $XDG_DATA_HOME/Airnote (or the platform's equivalent).
    static QString defaultDirectory();

    // Creates the directory; a failure shows up later as a write error.
    explicit CaptureStore(const QString &directory = defaultDirectory(),
                          Clock clock = &QDateTime::currentDateTimeUtc);
    // Waits for the operations already started.
    ~CaptureStore();

    CaptureStore(const CaptureStore &) = delete;
    CaptureStore &operator=(const CaptureStore &) = delete;

    QString fileName() const { return m_file.fileName(); }

    // Adds the record at the end of the file's history, rebuilt from the
    // file rather than from memory. Throws FileError or JsonError.
    QCoro::Task<void> append(CaptureRecord record);
    // The oldest `saved` record of the same normalised artist and title whose
    // timestamp is at most `within` seconds old. Throws FileError or JsonError.
    QCoro::Task<std::optional<CaptureRecord>> recentSave(QString artist, QString title, double within);
    // Every record, oldest first. Throws FileError or JsonError.
    QCoro::Task<QList<CaptureRecord>> loadAll();

private:
    void appendNow(const CaptureRecord &record);
    std::optional<CaptureRecord> findRecentSave(const QString &artist,
                                                const QString &title,
                                                const QDateTime &cutoff);
    const QList<CaptureRecord> &history();

    CaptureFile m_file;
    Clock m_clock;
    // Touched only by the worker, one operation at a time.
    std::optional<QList<CaptureRecord>> m_cache;
    QThreadPool m_worker;
};

} // namespace airnote
