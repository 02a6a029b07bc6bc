// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "UrlPaths.h"

namespace airnote {

QUrl withPathAppended(QUrl base, const QString &path, QUrl::ParsingMode mode)
{
    QString basePath = base.path(QUrl::FullyEncoded);
    while (basePath.endsWith(u'/'))
        basePath.chop(1);
    base.setPath(basePath + path, mode);
    return base;
}

} // namespace airnote
