// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Capture history costs at 100, 1,000 and 10,000 records. The store works on
// its own thread, so every figure is wall-clock time seen by the caller.
#include "history/CaptureFile.h"
#include "history/CaptureStore.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace airnote;
using Status = CaptureRecord::Status;

namespace {

const QDateTime now(QDate(2024, 5, 1), QTime(20, 0), Qt::UTC);

// One capture every three minutes up to now, mostly saves, as a long-lived
// history would look. Artists recur; "Titre 0" is only the newest, a save.
QList<CaptureRecord> history(int count)
{
    static const Status statuses[] = {Status::saved, Status::saved, Status::noMatch, Status::saveFailed};
    QList<CaptureRecord> records;
    for (int age = count - 1; age >= 0; --age) {
        const Status status = age == 0 ? Status::saved : statuses[age % 4];
        const bool chosen = status != Status::noMatch;
        records.append(CaptureRecord(QUuid::createUuid(), now.addSecs(-180 * age),
                                     QStringLiteral("Artiste %1 & Invités (feat. Lou)").arg(age % 250),
                                     QStringLiteral("Titre %1 [Live à l'Olympia]").arg(age), std::nullopt,
                                     chosen ? std::optional(QStringLiteral("14408577%1").arg(age)) : std::nullopt,
                                     chosen ? std::optional(0.875) : std::nullopt, status,
                                     status == Status::saveFailed ? std::optional(QStringLiteral("réseau : délai dépassé"))
                                                                  : std::nullopt));
    }
    return records;
}

struct Fixture
{
    explicit Fixture(int count)
        : records(history(count))
    {
        CaptureFile(fileName()).write(records);
    }

    QString fileName() const { return directory.filePath(QStringLiteral("captures.json")); }

    QTemporaryDir directory;
    QList<CaptureRecord> records;
};

// Every append of a session but the first: the store appends to the file it
// wrote last. Each iteration adds one record to the history.
void append(benchmark::State &state)
{
    const Fixture fixture(int(state.range(0)));
    CaptureStore store(fixture.directory.path());
    const CaptureRecord record = history(1).constFirst();
    QCoro::waitFor(store.append(record));
    for (auto _ : state)
        QCoro::waitFor(store.append(record));
}

// The first append of a session. Cold, the whole file is decoded and encoded;
// after the duplicate check, as a save runs, the check has decoded it already.
void firstAppend(benchmark::State &state, bool afterDuplicateCheck)
{
    const Fixture fixture(int(state.range(0)));
    const CaptureRecord record = history(1).constFirst();
    for (auto _ : state) {
        state.PauseTiming();
        CaptureFile(fixture.fileName()).write(fixture.records);
        auto store = std::make_unique<CaptureStore>(fixture.directory.path());
        if (afterDuplicateCheck)
            QCoro::waitFor(store->recentSave(record.fipArtist(), record.fipTitle(), 300));
        state.ResumeTiming();
        QCoro::waitFor(store->append(record));
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
}

void firstAppendCold(benchmark::State &state)
{
    firstAppend(state, false);
}

void firstAppendAfterDuplicateCheck(benchmark::State &state)
{
    firstAppend(state, true);
}

void firstLoadAll(benchmark::State &state)
{
    const Fixture fixture(int(state.range(0)));
    for (auto _ : state) {
        CaptureStore store(fixture.directory.path());
        benchmark::DoNotOptimize(QCoro::waitFor(store.loadAll()));
    }
}

void recentSaveFromMemory(benchmark::State &state, double within)
{
    const Fixture fixture(int(state.range(0)));
    CaptureStore store(fixture.directory.path(), [] { return now; });
    QCoro::waitFor(store.loadAll());
    for (auto _ : state) {
        const auto found = QCoro::waitFor(store.recentSave(QStringLiteral("ARTISTE 0 & INVITES"),
                                                           QStringLiteral("Titre 0"), within));
        if (!found)
            state.SkipWithError("the newest save was not found");
    }
}

void recentSaveFiveMinutes(benchmark::State &state)
{
    recentSaveFromMemory(state, 300);
}

// Every record inside the span: each saved one is normalised.
void recentSaveWholeHistory(benchmark::State &state)
{
    recentSaveFromMemory(state, 1e9);
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

} // namespace

BENCHMARK(append)->Apply(sizes)->Iterations(50);
BENCHMARK(firstAppendCold)->Apply(sizes);
BENCHMARK(firstAppendAfterDuplicateCheck)->Apply(sizes);
BENCHMARK(firstLoadAll)->Apply(sizes);
BENCHMARK(recentSaveFiveMinutes)->Apply(sizes);
BENCHMARK(recentSaveWholeHistory)->Apply(sizes);
