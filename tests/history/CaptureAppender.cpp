// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Appends capture records to the history in the given directory until it is
// killed, printing each record's id once its append has returned.
#include "history/CaptureStore.h"
#include "support/WaitFor.h"

#include <QCoreApplication>

#include <cstdio>

using airnote::CaptureRecord;

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    airnote::CaptureStore store(QString::fromLocal8Bit(argv[1]));
    for (int count = 0;; ++count) {
        const CaptureRecord record(QUuid::createUuid(), QDateTime::currentDateTimeUtc(), QStringLiteral("Artiste %1").arg(count),
                                   QStringLiteral("Titre"), std::nullopt, QStringLiteral("1440%1").arg(count), 0.75,
                                   CaptureRecord::Status::saved, std::nullopt);
        // A failed append ends the program through std::terminate, its message on stderr.
        airnote::testing::waitFor(store.append(record));
        std::printf("%s\n", qPrintable(record.idText()));
        std::fflush(stdout);
    }
}
