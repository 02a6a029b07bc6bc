// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Error.h"

namespace airnote {

Error::Error(QString description)
    : m_description(std::move(description))
    , m_utf8(m_description.toUtf8())
{
}

QString Error::localizedDescription() const
{
    return m_description;
}

const char *Error::what() const noexcept
{
    return m_utf8.constData();
}

} // namespace airnote
