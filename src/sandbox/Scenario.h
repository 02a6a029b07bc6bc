// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "fakes/FakeStation.h"

#include <QJsonArray>
#include <QList>
#include <QUrl>

namespace airnote::sandbox {

// What the offline station plays: songs the catalog holds exactly, songs it
// holds only as near misses (live takes, featuring credits, other spellings),
// songs it lacks, and programme segments with and without covers.
QList<fakes::FakeStation::Item> programme();

// The catalog the programme is searched in, ranked as a search would rank it;
// its artwork is drawn by the station at imageBase.
QJsonArray catalog(const QUrl &imageBase);

} // namespace airnote::sandbox
