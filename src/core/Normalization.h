// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

namespace airnote {

// The comparable form of an artist name or a title: lower case, bracketed
// featuring/remaster/deluxe/bonus/live mentions removed, diacritics stripped,
// punctuation dropped and blanks collapsed.
QString normalize(const QString &text);

} // namespace airnote
