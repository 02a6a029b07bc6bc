// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CommandLine.h"

#include <QCommandLineParser>

#include <array>
#include <utility>

namespace airnote {

namespace {

using Action = LaunchOptions::Action;

const std::array<std::pair<Action, QLatin1String>, 5> &actionNames()
{
    static const std::array<std::pair<Action, QLatin1String>, 5> names{{
        {Action::none, QLatin1String("none")},
        {Action::show, QLatin1String("show")},
        {Action::save, QLatin1String("save")},
        {Action::history, QLatin1String("history")},
        {Action::quit, QLatin1String("quit")},
    }};
    return names;
}

} // namespace

LaunchOptions parseCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows what FIP plays and keeps tracks in Apple Music."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption show(QStringLiteral("show"), QStringLiteral("Open the panel."));
    const QCommandLineOption save(QStringLiteral("save"), QStringLiteral("Open the panel and save the track on air."));
    const QCommandLineOption history(QStringLiteral("history"), QStringLiteral("Open the capture history."));
    const QCommandLineOption quit(QStringLiteral("quit"), QStringLiteral("End the running program."));
    const QCommandLineOption windowed(QStringLiteral("windowed"), QStringLiteral("Show the panel in an ordinary window."));
    parser.addOptions({show, save, history, quit, windowed});
    parser.process(arguments);

    LaunchOptions options;
    options.windowed = parser.isSet(windowed);
    // When several are given, the strongest wins: quitting beats acting.
    if (parser.isSet(quit))
        options.action = Action::quit;
    else if (parser.isSet(save))
        options.action = Action::save;
    else if (parser.isSet(history))
        options.action = Action::history;
    else if (parser.isSet(show))
        options.action = Action::show;
    return options;
}

QString actionName(Action action)
{
    for (const auto &[value, name] : actionNames()) {
        if (value == action)
            return name;
    }
    return QStringLiteral("none");
}

Action actionFromName(const QString &name)
{
    for (const auto &[value, text] : actionNames()) {
        if (name == text)
            return value;
    }
    return Action::none;
}

} // namespace airnote
