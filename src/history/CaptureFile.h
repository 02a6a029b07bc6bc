// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "history/CaptureRecord.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace airnote {

// The history file: a JSON array of capture records, oldest first, written
// as QJsonDocument::Indented lays it out (sorted keys, four-space indents).
// Blocking I/O; CaptureStore calls it from its worker thread only.
class CaptureFile
{
public:
    explicit CaptureFile(QString fileName);

    QString fileName() const { return m_fileName; }

    // No file is an empty history. Throws FileError or JsonError.
    QList<CaptureRecord> read();
    // Replaces the file atomically, so a reader never sees half a history.
    // Throws FileError, or JsonError for a number JSON cannot hold.
    void write(const QList<CaptureRecord> &records);

private:
    QByteArray encode(const QList<CaptureRecord> &records) const;

    QString m_fileName;
    // What this object last read or wrote. A file still holding exactly these
    // bytes is not decoded again, and a list extending these records has only
    // its new records encoded: at 10,000 records, that is most of an append.
    QByteArray m_knownBytes;
    QList<CaptureRecord> m_knownRecords;
};

} // namespace airnote
