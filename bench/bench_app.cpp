// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The history face's search at 100, 1,000 and 10,000 records: one keystroke
// in the search field filters the whole list again, on the interface thread.
#include "app/HistoryFilter.h"
#include "app/HistoryModel.h"
#include "history/CaptureFile.h"
#include "history/CaptureStore.h"

#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace airnote;
using Status = CaptureRecord::Status;

namespace {

struct LoadedHistory
{
    explicit LoadedHistory(int count)
    {
        QList<CaptureRecord> records;
        const QDateTime start(QDate(2024, 5, 1), QTime(20, 0), Qt::UTC);
        for (int index = 0; index < count; ++index) {
            records.append(CaptureRecord(QUuid::createUuid(), start.addSecs(180 * index),
                                         QStringLiteral("Zoé & Les Étoiles %1").arg(index % 300),
                                         QStringLiteral("Chanson n°%1 (Live à Bourges)").arg(index), std::nullopt,
                                         std::nullopt, std::nullopt, index % 3 ? Status::saved : Status::noMatch,
                                         std::nullopt));
        }
        CaptureFile(directory.filePath(QStringLiteral("captures.json"))).write(records);
        reload();
    }

    void reload()
    {
        QEventLoop loop;
        bool done = false;
        QObject::connect(&model, &HistoryModel::loaded, &loop, [&] {
            done = true;
            loop.quit();
        });
        model.reload();
        // The store may answer before reload() returns.
        if (!done)
            loop.exec();
    }

    QTemporaryDir directory;
    CaptureStore store{directory.path()};
    // No link is asked for, so no music service.
    HistoryModel model{&store, nullptr};
    HistoryFilter filter{&model};
};

// Typing "étoiles 29" letter by letter, then clearing it: one iteration, one keystroke.
void searchKeystroke(benchmark::State &state)
{
    LoadedHistory history(int(state.range(0)));
    const QString typed = QStringLiteral("étoiles 29");
    qsizetype length = 0;
    for (auto _ : state) {
        length = (length + 1) % (typed.size() + 1);
        history.filter.setQuery(typed.left(length));
        benchmark::DoNotOptimize(history.filter.rowCount());
    }
}

// Each showing of the face: the store answers from memory, the model
// normalises every artist and title once for the searches to come.
void reloadFromMemory(benchmark::State &state)
{
    LoadedHistory history(int(state.range(0)));
    for (auto _ : state)
        history.reload();
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

} // namespace

BENCHMARK(searchKeystroke)->Apply(sizes);
BENCHMARK(reloadFromMemory)->Apply(sizes);
