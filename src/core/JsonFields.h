// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace airnote {

// Reads the members of one JSON object by type. A required member that is
// missing, or any member of the wrong type, throws JsonError naming it; an
// optional member may be missing or null. Integers are whole numbers below
// 2^53, which a double tells apart, so "12.5" and "1e300" are refused, not rounded.
class JsonFields
{
public:
    // context names the object in error messages, as in "capture record".
    JsonFields(QJsonObject object, QString context);

    QString string(QLatin1StringView key) const;
    bool boolean(QLatin1StringView key) const;
    qint64 integer(QLatin1StringView key) const;
    std::optional<QString> optionalString(QLatin1StringView key) const;
    std::optional<qint64> optionalInteger(QLatin1StringView key) const;
    std::optional<double> optionalNumber(QLatin1StringView key) const;

    // For documents whose odd members are skipped rather than refused: the
    // member when it is a string, nothing otherwise.
    static std::optional<QString> stringIfAny(const QJsonObject &object, QLatin1StringView key);

private:
    QJsonValue required(QLatin1StringView key) const;
    std::optional<QJsonValue> present(QLatin1StringView key) const;
    QString asString(QLatin1StringView key, const QJsonValue &value) const;
    qint64 asInteger(QLatin1StringView key, const QJsonValue &value) const;
    double asNumber(QLatin1StringView key, const QJsonValue &value) const;
    [[noreturn]] void refuse(QLatin1StringView key, QLatin1StringView problem) const;

    QJsonObject m_object;
    QString m_context;
};

} // namespace airnote
