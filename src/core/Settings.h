// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <memory>

class QSettings;

namespace airnote {

// The program's settings: the given INI file, or the user's Airnote.conf when empty.
std::unique_ptr<QSettings> openSettings(const QString &file);

} // namespace airnote
