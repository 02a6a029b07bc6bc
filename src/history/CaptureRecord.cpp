// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CaptureRecord.h"

#include "core/Error.h"
#include "core/JsonFields.h"

#include <QJsonValue>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace airnote {

namespace {

using namespace Qt::StringLiterals;

constexpr std::array<std::pair<CaptureRecord::Status, QLatin1StringView>, 4> statusForms{{
    {CaptureRecord::Status::saved, "saved"_L1},
    {CaptureRecord::Status::noMatch, "no_match"_L1},
    {CaptureRecord::Status::saveFailed, "save_failed"_L1},
    {CaptureRecord::Status::logged, "logged"_L1},
}};

[[noreturn]] void refuse(const QString &key, const QString &reason)
{
    throw JsonError(u"capture record: \"%1\" %2"_s.arg(key, reason));
}

// True when text has the shape of pattern, where '9' stands for a decimal
// digit, 'f' for a hexadecimal digit of either case, and any other character
// for itself. Cheaper than a regular expression, which showed in long histories.
bool hasShape(QStringView text, QLatin1StringView pattern)
{
    const auto fits = [](QChar character, char expected) {
        const char16_t code = character.unicode();
        const bool decimal = code >= u'0' && code <= u'9';
        if (expected == '9')
            return decimal;
        if (expected == 'f')
            return decimal || (code >= u'a' && code <= u'f') || (code >= u'A' && code <= u'F');
        return code == char16_t(expected);
    };
    return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), fits);
}

QUuid parseId(const QString &text)
{
    // QUuid alone would also take braces and other layouts.
    if (!hasShape(text, "ffffffff-ffff-ffff-ffff-ffffffffffff"_L1))
        refuse(u"id"_s, u"is not a UUID"_s);
    return QUuid::fromString(text);
}

QDateTime parseTimestamp(const QString &text)
{
    // Qt's ISO parser also takes fractional seconds and offsets; the file never holds them.
    const auto number = [&text](qsizetype from, qsizetype length) { return QStringView(text).mid(from, length).toInt(); };
    const bool shaped = hasShape(text, "9999-99-99T99:99:99Z"_L1);
    const QDate date = shaped ? QDate(number(0, 4), number(5, 2), number(8, 2)) : QDate();
    const QTime time = shaped ? QTime(number(11, 2), number(14, 2), number(17, 2)) : QTime();
    if (!date.isValid() || !time.isValid())
        refuse(u"timestamp"_s, u"is not a UTC date and time in whole seconds"_s);
    return QDateTime(date, time, Qt::UTC);
}

CaptureRecord::Status parseStatus(const QString &text)
{
    for (const auto &[status, form] : statusForms) {
        if (text == form)
            return status;
    }
    refuse(u"status"_s, u"is not one of saved, no_match, save_failed, logged"_s);
}

} // namespace

CaptureRecord::CaptureRecord(QUuid id,
                             QDateTime timestamp,
                             QString fipArtist,
                             QString fipTitle,
                             std::optional<QString> fipAlbum,
                             std::optional<QString> appleSongID,
                             std::optional<double> confidence,
                             Status status,
                             std::optional<QString> errorMessage,
                             std::optional<QString> station)
    : m_id(id)
    // The file keeps whole seconds; truncating here keeps a record equal to its re-read self.
    , m_timestamp(QDateTime::fromSecsSinceEpoch(timestamp.toSecsSinceEpoch(), Qt::UTC))
    , m_fipArtist(std::move(fipArtist))
    , m_fipTitle(std::move(fipTitle))
    , m_fipAlbum(std::move(fipAlbum))
    , m_appleSongID(std::move(appleSongID))
    , m_confidence(confidence)
    , m_status(status)
    , m_errorMessage(std::move(errorMessage))
    , m_station(std::move(station))
{
}

QString CaptureRecord::idText() const
{
    return QString::fromLatin1(m_id.toByteArray(QUuid::WithoutBraces).toUpper());
}

QString CaptureRecord::timestampText() const
{
    // QDateTime::toString formats through QString::asprintf, which made it the
    // largest cost of writing a long history.
    const QDate date = m_timestamp.date();
    const QTime time = m_timestamp.time();
    char text[32];
    const int length = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", date.year(), date.month(),
                                     date.day(), time.hour(), time.minute(), time.second());
    return QString::fromLatin1(text, length);
}

QString CaptureRecord::statusText() const
{
    for (const auto &[status, form] : statusForms) {
        if (status == m_status)
            return form;
    }
    Q_UNREACHABLE();
}

QJsonObject CaptureRecord::toJson() const
{
    QJsonObject object;
    forEachJsonMember([&object](QLatin1StringView key, const auto &value) { object.insert(key, value); });
    return object;
}

CaptureRecord CaptureRecord::fromJson(const QJsonValue &value)
{
    if (!value.isObject())
        throw JsonError(u"capture record: not a JSON object"_s);
    const JsonFields fields(value.toObject(), u"capture record"_s);
    return CaptureRecord(parseId(fields.string("id"_L1)),
                         parseTimestamp(fields.string("timestamp"_L1)),
                         fields.string("fipArtist"_L1),
                         fields.string("fipTitle"_L1),
                         fields.optionalString("fipAlbum"_L1),
                         fields.optionalString("appleSongID"_L1),
                         fields.optionalNumber("confidence"_L1),
                         parseStatus(fields.string("status"_L1)),
                         fields.optionalString("errorMessage"_L1),
                         fields.optionalString("station"_L1));
}

} // namespace airnote
