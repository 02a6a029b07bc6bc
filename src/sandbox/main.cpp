// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "sandbox/ChildProgram.h"
#include "sandbox/Sandbox.h"
#include "sandbox/SandboxLogging.h"
#include "sandbox/TerminationSignals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <chrono>
#include <cstdlib>
#include <optional>

using namespace airnote;
using namespace airnote::sandbox;

namespace {

constexpr int usageFailure = 2;
constexpr int listenFailure = 1;
constexpr int requestLogFailure = 1;

struct Options
{
    std::chrono::seconds period{30};
    std::optional<quint32> chaosSeed;
    QString requestLog;
    QStringList command;  // empty: serve until a termination signal
};

[[noreturn]] void failUsage(const QString &message)
{
    QTextStream(stderr) << QCoreApplication::applicationName() << ": " << message << Qt::endl;
    std::exit(usageFailure);
}

Options parseOptions(const QStringList &arguments)
{
    // Whatever follows --run belongs to the program, its own options included.
    const qsizetype run = arguments.indexOf(QStringLiteral("--run"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays a simulated FIP and a simulated Apple Music on loopback, so Airnote can be tried offline.\n"
        "Prints the environment that points Airnote at them, then \"ready\".\n"
        "--run <program> [args...], last: runs the program in that environment and stops when it exits."));
    parser.addHelpOption();
    const QCommandLineOption period(QStringLiteral("period"), QStringLiteral("Seconds each programme item stays on air."),
                                    QStringLiteral("seconds"), QStringLiteral("30"));
    parser.addOption(period);
    const QCommandLineOption chaos(QStringLiteral("chaos"),
                                   QStringLiteral("Misbehave, by a schedule drawn from the seed: station and Apple Music "
                                                  "failures, garbage, slow answers and hangs."),
                                   QStringLiteral("seed"));
    parser.addOption(chaos);
    const QCommandLineOption requestLog(QStringLiteral("request-log"),
                                        QStringLiteral("With --chaos: append a line per station and Apple Music request "
                                                       "(monotonic seconds, target, reply kind, delay in ms) to the file."),
                                        QStringLiteral("file"));
    parser.addOption(requestLog);
    parser.process(run < 0 ? arguments : arguments.first(run));
    if (!parser.positionalArguments().isEmpty())
        failUsage(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    bool valid = false;
    const int seconds = parser.value(period).toInt(&valid);
    if (!valid || seconds <= 0)
        failUsage(QStringLiteral("--period needs a whole number of seconds above zero"));
    Options options{.period = std::chrono::seconds(seconds), .chaosSeed = {}, .requestLog = {}, .command = {}};
    if (parser.isSet(chaos)) {
        const uint seed = parser.value(chaos).toUInt(&valid);
        if (!valid)
            failUsage(QStringLiteral("--chaos needs a whole number from 0 to 4294967295"));
        options.chaosSeed = seed;
    }
    options.requestLog = parser.value(requestLog);
    if (!options.requestLog.isEmpty() && !options.chaosSeed)
        failUsage(QStringLiteral("--request-log needs --chaos"));
    if (run >= 0) {
        options.command = arguments.mid(run + 1);
        if (options.command.isEmpty())
            failUsage(QStringLiteral("--run needs a program"));
    }
    return options;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("airnote-sandbox"));
    const Options options = parseOptions(QCoreApplication::arguments());

    Sandbox sandbox({.period = options.period});
    QFile requestLog(options.requestLog);
    if (!options.requestLog.isEmpty() && !requestLog.open(QIODevice::WriteOnly | QIODevice::Append)) {
        qCCritical(sandboxLogger).noquote() << "cannot write" << options.requestLog << ':' << requestLog.errorString();
        return requestLogFailure;
    }
    if (options.chaosSeed)
        sandbox.makeChaotic(*options.chaosSeed, requestLog.isOpen() ? &requestLog : nullptr);
    if (!sandbox.listen()) {
        qCCritical(sandboxLogger) << "cannot listen on the loopback interface";
        return listenFailure;
    }
    // Before "ready": a script may stop the sandbox the moment it reads it.
    TerminationSignals termination;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QTextStream output(stdout);
    for (const auto &[name, value] : sandbox.environment()) {
        output << "export " << name << '=' << value << '\n';
        environment.insert(QString::fromLatin1(name), value);
    }
    output << "ready" << Qt::endl;

    if (options.command.isEmpty()) {
        QObject::connect(&termination, &TerminationSignals::received, &application, &QCoreApplication::quit);
        return QCoreApplication::exec();
    }
    ChildProgram program(options.command, environment);
    QObject::connect(&termination, &TerminationSignals::received, &program, &ChildProgram::stop);
    QObject::connect(&program, &ChildProgram::ended, &application, &QCoreApplication::exit);
    program.start();
    return QCoreApplication::exec();
}
