// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CommandLine.h"

#include "station/Station.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QUrl>

#include <cstdio>

#include <array>
#include <utility>

namespace airnote {

namespace {

using Action = LaunchOptions::Action;

const std::array<std::pair<Action, QLatin1String>, 6> &actionNames()
{
    static const std::array<std::pair<Action, QLatin1String>, 6> names{{
        {Action::none, QLatin1String("none")},
        {Action::show, QLatin1String("show")},
        {Action::save, QLatin1String("save")},
        {Action::history, QLatin1String("history")},
        {Action::exportHistory, QLatin1String("export")},
        {Action::quit, QLatin1String("quit")},
    }};
    return names;
}

} // namespace

namespace {

struct Parser
{
    QCommandLineParser parser;
    QCommandLineOption help = parser.addHelpOption();
    QCommandLineOption version = parser.addVersionOption();
    QCommandLineOption show{QStringLiteral("show"), QStringLiteral("Open the panel.")};
    QCommandLineOption save{QStringLiteral("save"), QStringLiteral("Open the panel and save the track on air.")};
    QCommandLineOption history{QStringLiteral("history"), QStringLiteral("Open the capture history.")};
    QCommandLineOption quit{QStringLiteral("quit"), QStringLiteral("End the running program.")};
    QCommandLineOption windowed{QStringLiteral("windowed"), QStringLiteral("Show the panel in an ordinary window.")};
    QCommandLineOption exportHistory{QStringLiteral("export-history"),
                                     QStringLiteral("Write the capture history to a CSV file."), QStringLiteral("file")};
    QCommandLineOption station{QStringLiteral("station"),
                               QStringLiteral("Follow FIP or one of its webradios: %1.").arg(stationKeys()),
                               QStringLiteral("name")};

    Parser()
    {
        parser.setApplicationDescription(QStringLiteral("Shows what FIP plays and keeps tracks in Apple Music."));
        parser.addOptions({show, save, history, exportHistory, quit, windowed, station});
    }
};

} // namespace

LaunchOptions parseCommandLine(const QStringList &arguments)
{
    Parser command;
    LaunchOptions options;
    if (!command.parser.parse(arguments)) {
        options.request = LaunchOptions::Request::misuse;
        options.misuse = command.parser.errorText();
        return options;
    }
    if (command.parser.isSet(command.help))
        options.request = LaunchOptions::Request::help;
    else if (command.parser.isSet(command.version))
        options.request = LaunchOptions::Request::version;
    options.windowed = command.parser.isSet(command.windowed);
    options.station = command.parser.value(command.station);
    // Absolute here: the running instance that writes it has another working folder.
    if (command.parser.isSet(command.exportHistory))
        options.exportPath = QFileInfo(command.parser.value(command.exportHistory)).absoluteFilePath();
    // When several are given, the strongest wins: quitting beats acting.
    if (command.parser.isSet(command.quit))
        options.action = Action::quit;
    else if (command.parser.isSet(command.save))
        options.action = Action::save;
    else if (command.parser.isSet(command.exportHistory))
        options.action = Action::exportHistory;
    else if (command.parser.isSet(command.history))
        options.action = Action::history;
    else if (command.parser.isSet(command.show))
        options.action = Action::show;
    return options;
}

int answerInTerminal(const LaunchOptions &options)
{
    using Request = LaunchOptions::Request;
    switch (options.request) {
    case Request::help:
        std::fputs(qPrintable(Parser().parser.helpText()), stdout);
        return 0;
    case Request::version:
        std::printf("%s %s\n", qPrintable(QCoreApplication::applicationName()),
                    qPrintable(QCoreApplication::applicationVersion()));
        return 0;
    case Request::misuse:
        std::fprintf(stderr, "%s\n\n%s", qPrintable(options.misuse), qPrintable(Parser().parser.helpText()));
        return 2;
    case Request::run:
        break;
    }
    return 0;
}

QString handoverMessage(const LaunchOptions &options)
{
    QString message = QStringLiteral("none");
    for (const auto &[value, name] : actionNames()) {
        if (value == options.action)
            message = name;
    }
    if (!options.station.isEmpty())
        message += QStringLiteral(" station=") + options.station;
    // Last and percent-encoded, so that a path with blanks stays one word.
    if (options.action == Action::exportHistory)
        message += QStringLiteral(" path=") + QString::fromLatin1(QUrl::toPercentEncoding(options.exportPath));
    return message;
}

LaunchOptions fromHandoverMessage(const QString &message)
{
    LaunchOptions options;
    const QStringList words = message.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const auto &[value, name] : actionNames()) {
        if (words.value(0) == name)
            options.action = value;
    }
    const QString stationPrefix = QStringLiteral("station=");
    const QString pathPrefix = QStringLiteral("path=");
    for (const QString &word : words.mid(1)) {
        if (word.startsWith(stationPrefix))
            options.station = word.mid(stationPrefix.size());
        else if (word.startsWith(pathPrefix))
            options.exportPath = QUrl::fromPercentEncoding(word.mid(pathPrefix.size()).toLatin1());
    }
    return options;
}

} // namespace airnote
