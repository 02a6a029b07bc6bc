// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TerminationSignals.h"

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace airnote::sandbox {

namespace {

// Written by the handler, read by the notifier; one instance per process.
int signalSockets[2] = {-1, -1};

constexpr int handledSignals[] = {SIGINT, SIGTERM};

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    Q_ASSERT(signalSockets[0] < 0);
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0)
        qFatal("cannot create the signal socket pair");
    m_notifier = std::make_unique<QSocketNotifier>(signalSockets[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &TerminationSignals::onReadable);
    struct sigaction action = {};
    action.sa_handler = &TerminationSignals::onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : handledSignals)
        ::sigaction(signalNumber, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    for (const int signalNumber : handledSignals)
        std::signal(signalNumber, SIG_DFL);
    m_notifier.reset();
    ::close(signalSockets[0]);
    ::close(signalSockets[1]);
    signalSockets[0] = signalSockets[1] = -1;
}

void TerminationSignals::onSignal(int signalNumber)
{
    const char byte = static_cast<char>(signalNumber);
    [[maybe_unused]] const ssize_t written = ::write(signalSockets[0], &byte, 1);
}

void TerminationSignals::onReadable()
{
    char byte = 0;
    if (::read(signalSockets[1], &byte, 1) == 1)
        Q_EMIT received(byte);
}

} // namespace airnote::sandbox
