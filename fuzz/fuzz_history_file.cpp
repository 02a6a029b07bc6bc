// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RunParser.h"

#include "history/CaptureFile.h"
#include "core/Error.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>

namespace {

// The reader takes a file name, so each input goes through a real file.
QString historyFileHolding(const QByteArray &bytes)
{
    static const QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("captures.json"));
    // A new file each time: ext4 flushes a truncated file to disk on close,
    // which cost milliseconds per input.
    QFile::remove(fileName);
    QFile file(fileName);
    if (!folder.isValid() || !file.open(QIODevice::WriteOnly | QIODevice::NewOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(fileName));
    return fileName;
}

// An append after a read splices onto the bytes it read: whatever layout the
// input had, the next reader must find every record and the new one.
void appendAfterRead(const QString &fileName)
{
    using airnote::CaptureRecord;
    airnote::CaptureFile file(fileName);
    QList<CaptureRecord> records = file.read();
    records.append(CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc(), QStringLiteral("Artiste"),
                                 QStringLiteral("Titre"), std::nullopt, std::nullopt, std::nullopt,
                                 CaptureRecord::Status::noMatch, std::nullopt));
    file.write(records);
    if (airnote::CaptureFile(fileName).read() != records)
        qFatal("an append after a read changed the history");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::JsonError>(data, size, [](const QByteArray &bytes) {
        appendAfterRead(historyFileHolding(bytes));
    });
}
