// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLoggingCategory>

namespace airnote::sandbox {

// Lines read "sandbox: <message>" on standard error, apart from Airnote's own categories.
Q_DECLARE_LOGGING_CATEGORY(sandboxLogger)

} // namespace airnote::sandbox
