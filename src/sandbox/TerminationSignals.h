// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace airnote::sandbox {

// SIGINT and SIGTERM delivered as a Qt signal on the event loop, through a
// socket pair: a signal handler may do little more than write a byte.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received(int signalNumber);

private:
    static void onSignal(int signalNumber);
    void onReadable();

    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace airnote::sandbox
