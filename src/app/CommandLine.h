// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

namespace airnote {

// What a start of the program asks for. A second start hands `action` to the
// running instance; the first one performs it itself.
struct LaunchOptions
{
    enum class Action { none, show, save, history, quit };

    Action action = Action::none;
    bool windowed = false;
};

// Parses the program's arguments; --help and --version print and exit.
LaunchOptions parseCommandLine(const QStringList &arguments);

QString actionName(LaunchOptions::Action action);
LaunchOptions::Action actionFromName(const QString &name);

} // namespace airnote
