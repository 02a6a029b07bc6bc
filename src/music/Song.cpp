// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Song.h"

namespace airnote {

QString Song::albumTitleOrEmpty() const
{
    return albumTitle.value_or(QString());
}

QUrl Song::artworkURL(int width, int height) const
{
    return artwork ? artwork->url(width, height) : QUrl();
}

} // namespace airnote
