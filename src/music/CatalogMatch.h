// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/Song.h"

#include <QMetaType>

namespace airnote {

// A candidate song for the track on air, with its confidence from 0 to 1.
struct CatalogMatch
{
    Q_GADGET
    Q_PROPERTY(airnote::Song song MEMBER song CONSTANT)
    Q_PROPERTY(double confidence MEMBER confidence CONSTANT)

public:
    Song song;
    double confidence = 0.0;

    bool operator==(const CatalogMatch &) const = default;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::CatalogMatch)
