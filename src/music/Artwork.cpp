// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Artwork.h"

namespace airnote {

Artwork::Artwork(QString urlTemplate)
    : m_urlTemplate(std::move(urlTemplate))
{
}

QUrl Artwork::url(int width, int height) const
{
    QString address = m_urlTemplate;
    address.replace(QLatin1String("{w}"), QString::number(width));
    address.replace(QLatin1String("{h}"), QString::number(height));
    return QUrl(address);
}

} // namespace airnote
