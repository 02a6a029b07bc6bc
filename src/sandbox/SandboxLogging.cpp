// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SandboxLogging.h"

namespace airnote::sandbox {

Q_LOGGING_CATEGORY(sandboxLogger, "sandbox", QtInfoMsg)

} // namespace airnote::sandbox
