// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "JsonFields.h"

#include "core/Error.h"

#include <cmath>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

// Below 2^53 every integer has a double of its own; from there on, neighbours
// share one, so the number read may not be the number written.
constexpr double firstSharedInteger = 9007199254740992.0;

} // namespace

JsonFields::JsonFields(QJsonObject object, QString context)
    : m_object(std::move(object))
    , m_context(std::move(context))
{
}

QString JsonFields::string(QLatin1StringView key) const
{
    return asString(key, required(key));
}

bool JsonFields::boolean(QLatin1StringView key) const
{
    const QJsonValue value = required(key);
    if (!value.isBool())
        refuse(key, "is not a boolean"_L1);
    return value.toBool();
}

qint64 JsonFields::integer(QLatin1StringView key) const
{
    return asInteger(key, required(key));
}

std::optional<QString> JsonFields::optionalString(QLatin1StringView key) const
{
    const std::optional<QJsonValue> value = present(key);
    return value ? std::optional(asString(key, *value)) : std::nullopt;
}

std::optional<qint64> JsonFields::optionalInteger(QLatin1StringView key) const
{
    const std::optional<QJsonValue> value = present(key);
    return value ? std::optional(asInteger(key, *value)) : std::nullopt;
}

std::optional<double> JsonFields::optionalNumber(QLatin1StringView key) const
{
    const std::optional<QJsonValue> value = present(key);
    return value ? std::optional(asNumber(key, *value)) : std::nullopt;
}

std::optional<QString> JsonFields::stringIfAny(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QJsonValue JsonFields::required(QLatin1StringView key) const
{
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined())
        refuse(key, "is missing"_L1);
    return value;
}

std::optional<QJsonValue> JsonFields::present(QLatin1StringView key) const
{
    const QJsonValue value = m_object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return value;
}

QString JsonFields::asString(QLatin1StringView key, const QJsonValue &value) const
{
    if (!value.isString())
        refuse(key, "is not a string"_L1);
    return value.toString();
}

qint64 JsonFields::asInteger(QLatin1StringView key, const QJsonValue &value) const
{
    const double number = value.toDouble();
    if (!value.isDouble() || std::trunc(number) != number || std::abs(number) >= firstSharedInteger)
        refuse(key, "is not an integer"_L1);
    return static_cast<qint64>(number);
}

double JsonFields::asNumber(QLatin1StringView key, const QJsonValue &value) const
{
    if (!value.isDouble())
        refuse(key, "is not a number"_L1);
    return value.toDouble();
}

void JsonFields::refuse(QLatin1StringView key, QLatin1StringView problem) const
{
    throw JsonError(u"%1: \"%2\" %3"_s.arg(m_context, key, problem));
}

} // namespace airnote
