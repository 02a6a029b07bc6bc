// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Appends capture records to the history in the given directory until it is
// killed, printing each record's id once its append has returned.
#include "history/CaptureStore.h"
#include "core/Error.h"

#include <QCoreApplication>

#include <cstdio>

using airnote::CaptureRecord;
using airnote::CaptureStore;

namespace {

QCoro::Task<> appendForever(CaptureStore *store)
{
    try {
        for (int count = 0;; ++count) {
            const CaptureRecord record(QUuid::createUuid(), QDateTime::currentDateTimeUtc(),
                                       QStringLiteral("Artiste %1").arg(count), QStringLiteral("Titre"),
                                       std::nullopt, QStringLiteral("1440%1").arg(count), 0.75,
                                       CaptureRecord::Status::saved, std::nullopt);
            co_await store->append(record);
            std::printf("%s\n", qPrintable(record.idText()));
            std::fflush(stdout);
        }
    } catch (const airnote::Error &error) {
        std::fprintf(stderr, "append failed: %s\n", error.what());
        QCoreApplication::exit(1);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: capture_appender DIRECTORY\n");
        return 2;
    }
    CaptureStore store(QString::fromLocal8Bit(argv[1]));
    appendForever(&store);
    return application.exec();
}
