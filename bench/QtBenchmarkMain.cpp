// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Google Benchmark's main with a Qt event loop: the store's and the models'
// awaits resume through it. With AIRNOTE_BENCH_WINDOWS, a widgets application
// whose windows are drawn off screen unless a display is given.
#include <benchmark/benchmark.h>

#ifdef AIRNOTE_BENCH_WINDOWS
#include <QApplication>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

int main(int argc, char **argv)
{
#ifdef AIRNOTE_BENCH_WINDOWS
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    Application application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
