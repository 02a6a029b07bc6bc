// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLoggingCategory>

namespace airnote {

// The categories are created on first use by Qt's thread-safe static init.
Q_DECLARE_LOGGING_CATEGORY(fipLogger)
Q_DECLARE_LOGGING_CATEGORY(musicLogger)
Q_DECLARE_LOGGING_CATEGORY(playbackLogger)
// Debug lines only, off by default: what scripts/measure-footprint reads.
Q_DECLARE_LOGGING_CATEGORY(uiLogger)

} // namespace airnote
