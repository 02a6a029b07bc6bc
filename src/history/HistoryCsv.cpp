// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "HistoryCsv.h"

#include <QStringList>

#include <optional>

namespace airnote {

namespace {

// Quoted only when it must be, so plain values stay readable in a text editor.
QString field(const QString &value)
{
    static const QString special = QStringLiteral(",\"\r\n");
    if (std::none_of(value.cbegin(), value.cend(), [](QChar c) { return special.contains(c); }))
        return value;
    QString quoted = value;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString optionalField(const std::optional<QString> &value)
{
    return value ? field(*value) : QString();
}

QByteArray line(const QStringList &fields)
{
    // RFC 4180 ends every record with CRLF.
    return fields.join(QLatin1Char(',')).toUtf8() + "\r\n";
}

} // namespace

QByteArray HistoryCsv::encode(const QList<CaptureRecord> &records)
{
    QByteArray csv = line({QStringLiteral("id"), QStringLiteral("timestamp"), QStringLiteral("status"),
                           QStringLiteral("fipArtist"), QStringLiteral("fipTitle"), QStringLiteral("fipAlbum"),
                           QStringLiteral("appleSongID"), QStringLiteral("confidence"), QStringLiteral("errorMessage"),
                           QStringLiteral("station")});
    for (const CaptureRecord &record : records) {
        const std::optional<double> confidence = record.confidence();
        csv += line({record.idText(), record.timestampText(), record.statusText(), field(record.fipArtist()),
                     field(record.fipTitle()), optionalField(record.fipAlbum()), optionalField(record.appleSongID()),
                     confidence ? QString::number(*confidence, 'g', 17) : QString(),
                     optionalField(record.errorMessage()), optionalField(record.station())});
    }
    return csv;
}

} // namespace airnote
