#include "CaptureFile.h"

#include "platform/Error.h"

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

void appendJsonValue(QByteArray &json, const QString &text)
{
    json += '"';
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

QList<CaptureRecord> CaptureFile::read() const
{
    QFile file(m_fileName);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
    const QByteArray bytes = file.readAll();
    if (!m_writtenBytes.isEmpty() && bytes == m_writtenBytes)
        return m_writtenRecords;

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
    return records;
}

QByteArray CaptureFile::encode(const QList<CaptureRecord> &records) const
{
    static constexpr QByteArrayView closing = "\n]\n";
    const qsizetype known = m_writtenRecords.size();
    QByteArray json;
    json.reserve(records.size() * 320);
    if (known > 0 && records.size() > known
        && std::equal(m_writtenRecords.begin(), m_writtenRecords.end(), records.begin())) {
        json += QByteArrayView(m_writtenBytes).chopped(closing.size());
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
    m_writtenBytes = bytes;
    m_writtenRecords = records;
}

} // namespace airnote
