// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QUrl>

namespace airnote {

// The address with path added after its own path. Trailing slashes of the
// base's path are dropped first, so a base configured as "https://host/api/"
// or "https://host/api" leads to the same place. In QUrl::StrictMode a path
// holding characters no URL may hold leaves an invalid address.
QUrl withPathAppended(QUrl base, const QString &path, QUrl::ParsingMode mode = QUrl::TolerantMode);

} // namespace airnote
