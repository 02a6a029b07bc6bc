// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MprisRootAdaptor.h"

#include "MediaControls.h"

namespace airnote {

using namespace Qt::StringLiterals;

MprisRootAdaptor::MprisRootAdaptor(MediaControls *controls)
    : QDBusAbstractAdaptor(controls)
    , m_controls(controls)
{
}

QString MprisRootAdaptor::identity() const
{
    return u"Airnote"_s;
}

// The installed desktop file's id, so that the desktop shows our name and icon.
QString MprisRootAdaptor::desktopEntry() const
{
    return u"airnote"_s;
}

bool MprisRootAdaptor::canQuit() const
{
    return true;
}

bool MprisRootAdaptor::canRaise() const
{
    return true;
}

bool MprisRootAdaptor::hasTrackList() const
{
    return false;
}

// Airnote plays its station only: no file or address to open.
QStringList MprisRootAdaptor::supportedUriSchemes() const
{
    return {};
}

QStringList MprisRootAdaptor::supportedMimeTypes() const
{
    return {};
}

void MprisRootAdaptor::Raise()
{
    Q_EMIT m_controls->raiseRequested();
}

void MprisRootAdaptor::Quit()
{
    Q_EMIT m_controls->quitRequested();
}

} // namespace airnote
