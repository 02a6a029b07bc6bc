// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

namespace airnote {

// What a start of the program asks for. A second start hands `action` and
// `station` to the running instance; the first one performs them itself.
struct LaunchOptions
{
    enum class Action { none, show, save, history, exportHistory, quit };
    // What only the terminal needs answered: no display, no session bus.
    enum class Request { run, help, version, misuse };

    Action action = Action::none;
    QString station;  // a station's key, or empty to keep the one chosen
    QString exportPath;  // for Action::exportHistory, absolute
    bool windowed = false;
    Request request = Request::run;
    QString misuse;  // the parser's complaint, for Request::misuse
};

// Parses the program's arguments; needs no application object, so that a
// terminal without a display still gets its answer.
LaunchOptions parseCommandLine(const QStringList &arguments);

// Prints the answer to help, version or a misuse (with the usage); returns
// the exit status, 2 for a misuse. Needs a QCoreApplication for the usage line.
int answerInTerminal(const LaunchOptions &options);

// What a later start sends the running instance: the action, the station and
// the export's path.
QString handoverMessage(const LaunchOptions &options);
LaunchOptions fromHandoverMessage(const QString &message);

} // namespace airnote
