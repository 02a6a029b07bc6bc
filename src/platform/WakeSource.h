// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>

namespace airnote {

// Tells when the machine goes to sleep and wakes from it (logind's PrepareForSleep).
class WakeSource : public QObject
{
    Q_OBJECT

public:
    explicit WakeSource(QObject *parent = nullptr);

    // Without a system bus there are no wake events: logged once, then ignored.
    void listenToLogind();

Q_SIGNALS:
    void sleeping();
    void woke();

private Q_SLOTS:
    // A string-based slot: QtDBus connects signals by signature only.
    void onPrepareForSleep(bool goingToSleep);

private:
    bool m_listening = false;
};

} // namespace airnote
