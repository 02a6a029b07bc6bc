// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Error.h"

namespace airnote {

// A station document that cannot be turned into a track. The description
// names the kind and keeps the parser's reason, so the log says what was wrong.
class ParseError : public Error
{
public:
    enum class Kind { malformed };

    static ParseError malformed(QString message);

    Kind kind() const;
    QString message() const;

private:
    ParseError(Kind kind, QString message);

    Kind m_kind;
    QString m_message;
};

} // namespace airnote
