// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Logging.h"

namespace airnote {

Q_LOGGING_CATEGORY(fipLogger, "com.velmorin.Airnote.fip", QtInfoMsg)
Q_LOGGING_CATEGORY(musicLogger, "com.velmorin.Airnote.music", QtInfoMsg)
Q_LOGGING_CATEGORY(playbackLogger, "com.velmorin.Airnote.playback", QtInfoMsg)
Q_LOGGING_CATEGORY(uiLogger, "com.velmorin.Airnote.ui", QtInfoMsg)

} // namespace airnote
