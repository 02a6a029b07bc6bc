#include "sandbox/ChildProgram.h"
#include "sandbox/Sandbox.h"
#include "sandbox/SandboxLogging.h"
#include "sandbox/TerminationSignals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

#include <chrono>
#include <cstdlib>

using namespace airnote;
using namespace airnote::sandbox;

namespace {

constexpr int usageFailure = 2;
constexpr int listenFailure = 1;

struct Options
{
    std::chrono::seconds period{30};
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
    parser.process(run < 0 ? arguments : arguments.first(run));
    if (!parser.positionalArguments().isEmpty())
        failUsage(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    bool valid = false;
    const int seconds = parser.value(period).toInt(&valid);
    if (!valid || seconds <= 0)
        failUsage(QStringLiteral("--period needs a whole number of seconds above zero"));
    Options options{.period = std::chrono::seconds(seconds), .command = {}};
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
    if (!sandbox.listen()) {
        qCCritical(sandboxLogger) << "cannot listen on the loopback interface";
        return listenFailure;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QTextStream output(stdout);
    for (const auto &[name, value] : sandbox.environment()) {
        output << "export " << name << '=' << value << '\n';
        environment.insert(QString::fromLatin1(name), value);
    }
    output << "ready" << Qt::endl;

    TerminationSignals termination;
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
