// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Settings.h"

#include <QSettings>

namespace airnote {

std::unique_ptr<QSettings> openSettings(const QString &file)
{
    if (file.isEmpty())
        return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Airnote"),
                                           QStringLiteral("Airnote"));
    return std::make_unique<QSettings>(file, QSettings::IniFormat);
}

} // namespace airnote
