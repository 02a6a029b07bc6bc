// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ChildProgram.h"

#include "SandboxLogging.h"

#include <QTimer>

#include <chrono>

namespace airnote::sandbox {

namespace {

using namespace std::chrono_literals;

constexpr auto gracePeriod = 5s;
constexpr int notStarted = 127;  // as a shell answers for a missing command
constexpr int crashed = 1;

} // namespace

ChildProgram::ChildProgram(QStringList command, QProcessEnvironment environment, QObject *parent)
    : QObject(parent)
{
    Q_ASSERT(!command.isEmpty());
    m_process.setProgram(command.takeFirst());
    m_process.setArguments(command);
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.setInputChannelMode(QProcess::ForwardedInputChannel);
    connect(&m_process, &QProcess::finished, this, &ChildProgram::onFinished);
    connect(&m_process, &QProcess::errorOccurred, this, &ChildProgram::onErrorOccurred);
}

void ChildProgram::start()
{
    m_process.start();
}

void ChildProgram::stop()
{
    if (m_stopping || m_process.state() == QProcess::NotRunning)
        return;
    m_stopping = true;
    // A signal that arrives while the program is still starting must not be lost.
    m_process.waitForStarted();
    m_process.terminate();
    QTimer::singleShot(gracePeriod, &m_process, &QProcess::kill);
}

void ChildProgram::onFinished(int exitCode, QProcess::ExitStatus status)
{
    if (status == QProcess::NormalExit) {
        Q_EMIT ended(exitCode);
        return;
    }
    if (!m_stopping)
        qCCritical(sandboxLogger).noquote() << m_process.program() << "crashed";
    Q_EMIT ended(crashed);
}

void ChildProgram::onErrorOccurred(QProcess::ProcessError error)
{
    // A crash also arrives through finished(); the other errors leave the program running.
    if (error != QProcess::FailedToStart)
        return;
    qCCritical(sandboxLogger).noquote() << "cannot start" << m_process.program() << "-" << m_process.errorString();
    Q_EMIT ended(notStarted);
}

} // namespace airnote::sandbox
