// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/AirnoteApp.h"

#include <QString>
#include <QUrl>

class QNetworkAccessManager;

namespace airnote::fakes {
class FakeAppleMusic;
}

namespace airnote::testing {

// The program's real services, pointed at loopback fakes and at a private
// folder for the history and the settings, so no test touches the user's files.
// Without a fake Apple Music the service points nowhere and is never asked.
AirnoteApp::Services servicesFor(QNetworkAccessManager *network, const QUrl &stationURL, const QString &folder,
                                 fakes::FakeAppleMusic *music = nullptr);

} // namespace airnote::testing
