// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The history face at 100, 1,000 and 10,000 records, drawn as the panel draws
// it: from a keystroke in the search field to the next frame on screen.
#include "app/AirnoteApp.h"
#include "app/HistoryFilter.h"
#include "history/CaptureFile.h"
#include "support/TestServices.h"
#include "ui/PanelHost.h"

#include <QNetworkAccessManager>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <benchmark/benchmark.h>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

using namespace airnote;

namespace {

void keystrokeToFrame(benchmark::State &state)
{
    QTemporaryDir home;
    QList<CaptureRecord> records;
    const QDateTime start(QDate(2024, 5, 1), QTime(20, 0), Qt::UTC);
    for (int index = 0; index < state.range(0); ++index) {
        records.append(CaptureRecord(QUuid::createUuid(), start.addSecs(180 * index),
                                     QStringLiteral("Zoé & Les Étoiles %1").arg(index % 300),
                                     QStringLiteral("Chanson n°%1").arg(index), std::nullopt, std::nullopt,
                                     std::nullopt, CaptureRecord::Status::saved, std::nullopt));
    }
    CaptureFile(home.filePath(QStringLiteral("captures.json"))).write(records);
    QNetworkAccessManager network;
    // The station is never reached: only the history face is drawn.
    AirnoteApp app(testing::servicesFor(&network, QUrl(QStringLiteral("http://127.0.0.1:9/live")), home.path()));
    PanelHost panel(app.panel(), app.updater(), PanelWindow::Presentation::Windowed);
    QSignalSpy loaded(app.history(), &HistoryModel::loaded);
    panel.showNextTo(QRect());
    app.panel()->onShowHistory();
    if (!loaded.wait(1000)) {
        state.SkipWithError("the history did not load");
        return;
    }
    QSignalSpy(panel.window(), &QQuickWindow::frameSwapped).wait(1000);

    // Two searches with different rows, so that every keystroke changes what is drawn.
    const QStringList queries{QStringLiteral("étoiles 29"), QStringLiteral("étoiles 31")};
    int next = 0;
    for (auto _ : state) {
        QSignalSpy drawn(panel.window(), &QQuickWindow::frameSwapped);
        app.panel()->historyRows()->setQuery(queries[next]);
        next = 1 - next;
        if (!drawn.wait(1000)) {
            state.SkipWithError("no frame after the keystroke");
            return;
        }
    }
}

} // namespace

BENCHMARK(keystrokeToFrame)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
