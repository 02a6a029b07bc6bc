// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FIPTrack.h"

namespace airnote {

QString FIPTrack::albumOrEmpty() const
{
    return album.value_or(QString());
}

QUrl FIPTrack::artworkURLOrEmpty() const
{
    return artworkURL.value_or(QUrl());
}

} // namespace airnote
