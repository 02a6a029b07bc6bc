// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ParseError.h"

namespace airnote {

using namespace Qt::StringLiterals;

ParseError::ParseError(Kind kind, QString message)
    : Error(u"malformed station document: "_s + message)
    , m_kind(kind)
    , m_message(std::move(message))
{
}

ParseError ParseError::malformed(QString message)
{
    return ParseError(Kind::malformed, std::move(message));
}

ParseError::Kind ParseError::kind() const
{
    return m_kind;
}

QString ParseError::message() const
{
    return m_message;
}

} // namespace airnote
