// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "history/CaptureRecord.h"

#include <QByteArray>
#include <QList>

namespace airnote {

// The history as a spreadsheet reads it: CSV in UTF-8 after RFC 4180, a
// header row naming the record's JSON keys, one row per record in the order given.
class HistoryCsv
{
public:
    static QByteArray encode(const QList<CaptureRecord> &records);
};

} // namespace airnote
