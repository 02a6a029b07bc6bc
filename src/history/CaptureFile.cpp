// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CaptureFile.h"

#include "core/Error.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <utility>

namespace airnote {

namespace {

void appendEscapedUtf8(QByteArray &json, QStringView text)
{
    for (const char byte : text.toUtf8()) {
        switch (byte) {
        case '"':
            json += "\\\"";
            break;
        case '\\':
            json += "\\\\";
            break;
        case '\b':
            json += "\\b";
            break;
        case '\f':
            json += "\\f";
            break;
        case '\n':
            json += "\\n";
            break;
        case '\r':
            json += "\\r";
            break;
        case '\t':
            json += "\\t";
            break;
        default:
            if (uchar(byte) < 0x20)
                json += "\\u00" + QByteArray::number(uchar(byte), 16).rightJustified(2, '0');
            else
                json += byte;
        }
    }
}

void appendJsonValue(QByteArray &json, const QString &text)
{
    json += '"';
    if (text.isValidUtf16()) {
        appendEscapedUtf8(json, text);
    } else {
        // A lone surrogate has no UTF-8 form and would come back as U+FFFD; as
        // a \u escape it reads back as it was.
        qsizetype runStart = 0;
        for (qsizetype index = 0; index < text.size(); ++index) {
            const QChar unit = text[index];
            const bool paired = (unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate())
                || (unit.isLowSurrogate() && index > 0 && text[index - 1].isHighSurrogate());
            if (!unit.isSurrogate() || paired)
                continue;
            appendEscapedUtf8(json, QStringView(text).sliced(runStart, index - runStart));
            json += "\\u" + QByteArray::number(unit.unicode(), 16);
            runStart = index + 1;
        }
        appendEscapedUtf8(json, QStringView(text).sliced(runStart));
    }
    json += '"';
}

void appendJsonValue(QByteArray &json, double number)
{
    if (!std::isfinite(number))
        throw JsonError(QStringLiteral("capture record: a number is not finite"));
    json += QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
}

// Each record as an element of an array in QJsonDocument::Indented layout,
// separated by ",\n". Writing the text directly costs a fraction of building
// QJsonObjects and serialising them.
void appendObjects(QByteArray &json, const QList<CaptureRecord> &records, qsizetype from)
{
    for (qsizetype index = from; index < records.size(); ++index) {
        json += index == from ? "    {\n" : ",\n    {\n";
        const char *separator = "";
        records[index].forEachJsonMember([&](QLatin1StringView key, const auto &value) {
            json += separator;
            separator = ",\n";
            json += "        \"";
            json += QByteArrayView(key.data(), key.size());
            json += "\": ";
            appendJsonValue(json, value);
        });
        json += "\n    }";
    }
}

} // namespace

CaptureFile::CaptureFile(QString fileName)
    : m_fileName(std::move(fileName))
{
}

QList<CaptureRecord> CaptureFile::read()
{
    QFile file(m_fileName);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
    const QByteArray bytes = file.readAll();
    if (!m_knownBytes.isEmpty() && bytes == m_knownBytes)
        return m_knownRecords;

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw JsonError(parseError.errorString());
    if (!document.isArray())
        throw JsonError(QStringLiteral("capture history: not a JSON array"));

    const QJsonArray array = document.array();
    QList<CaptureRecord> records;
    records.reserve(array.size());
    for (const QJsonValue &value : array)
        records.append(CaptureRecord::fromJson(value));
    m_knownBytes = bytes;
    m_knownRecords = records;
    return records;
}

QByteArray CaptureFile::encode(const QList<CaptureRecord> &records) const
{
    static constexpr QByteArrayView closing = "\n]\n";
    const qsizetype known = m_knownRecords.size();
    QByteArray json;
    json.reserve(records.size() * 320);
    // Bytes read from elsewhere may be laid out otherwise: any array of at
    // least one element that ends as ours does still takes an element after its last.
    if (known > 0 && records.size() > known && m_knownBytes.endsWith(closing)
        && std::equal(m_knownRecords.begin(), m_knownRecords.end(), records.begin())) {
        json += QByteArrayView(m_knownBytes).chopped(closing.size());
        json += ",\n";
        appendObjects(json, records, known);
    } else {
        json += "[\n";
        appendObjects(json, records, 0);
    }
    json += records.isEmpty() ? QByteArrayView("]\n") : closing;
    return json;
}

void CaptureFile::write(const QList<CaptureRecord> &records)
{
    const QByteArray bytes = encode(records);

    // Buffered, QFileDevice takes a short write (disk full, size limit) as
    // done and commits a truncated file; unbuffered, the short write shows and
    // writing the rest reports the system's error.
    QSaveFile file(m_fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw FileError(file.errorString());
    for (qint64 written = 0; written < bytes.size();) {
        const qint64 chunk = file.write(bytes.constData() + written, bytes.size() - written);
        if (chunk <= 0)
            throw FileError(file.errorString());
        written += chunk;
    }
    if (!file.commit())
        throw FileError(file.errorString());
    m_knownBytes = bytes;
    m_knownRecords = records;
}

} // namespace airnote
