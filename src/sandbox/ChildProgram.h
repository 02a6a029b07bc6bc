// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace airnote::sandbox {

// One program run with the sandbox's environment, sharing the sandbox's
// standard input, output and error.
class ChildProgram : public QObject
{
    Q_OBJECT

public:
    // command: the program, then its arguments.
    ChildProgram(QStringList command, QProcessEnvironment environment, QObject *parent = nullptr);

    void start();
    // Asks the program to end, and kills it when it has not after a grace period.
    void stop();

Q_SIGNALS:
    // The program's exit code; 127 when it could not start, 1 when it crashed.
    void ended(int exitCode);

private:
    void onFinished(int exitCode, QProcess::ExitStatus status);
    void onErrorOccurred(QProcess::ProcessError error);

    QProcess m_process;
    bool m_stopping = false;
};

} // namespace airnote::sandbox
