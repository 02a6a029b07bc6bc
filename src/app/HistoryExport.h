// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QCoreApplication>
#include <QString>

#include "core/Coroutines.h"

#include <optional>

namespace airnote {

class CaptureStore;

// Writes the capture history to a CSV file the listener names, from the
// panel or from the command line.
class HistoryExport
{
    Q_DECLARE_TR_FUNCTIONS(airnote::HistoryExport)

public:
    // Why path cannot receive the export (a folder, a missing folder), or none
    // when it looks writable; the write itself may still be refused.
    static std::optional<QString> refusal(const QString &path);

    // Reads the whole history and writes it to path through a temporary file
    // renamed over it, so a failure leaves whatever was there. Throws FileError
    // with the listener's text, the target untouched, when the history cannot
    // be read or the file cannot be written.
    static QCoro::Task<> write(CaptureStore *store, QString path);

    // For the command line with no instance running: exports the history of
    // the default store, its complaint on standard error. Runs the event loop
    // of the QCoreApplication already made; answers the exit status, 2 for a failure.
    static int runAlone(const QString &path);
};

} // namespace airnote
