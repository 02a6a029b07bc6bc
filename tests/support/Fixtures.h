// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace airnote::testing {

// A sample reply in the real services' shape, from tests/fixtures; empty when missing.
inline QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(AIRNOTE_FIXTURES_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace airnote::testing
