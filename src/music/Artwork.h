// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QUrl>

namespace airnote {

// A catalog image address for any size: the template holds {w} and {h}.
class Artwork
{
public:
    explicit Artwork(QString urlTemplate);

    QUrl url(int width, int height) const;

    bool operator==(const Artwork &) const = default;

private:
    QString m_urlTemplate;
};

} // namespace airnote
