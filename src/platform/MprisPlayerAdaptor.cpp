// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MprisPlayerAdaptor.h"

#include "MediaControls.h"

#include <algorithm>

namespace airnote {

using namespace Qt::StringLiterals;

MprisPlayerAdaptor::MprisPlayerAdaptor(MediaControls *controls)
    : QDBusAbstractAdaptor(controls)
    , m_controls(controls)
{
}

QVariantMap MprisPlayerAdaptor::update(const QVariantMap &values)
{
    QVariantMap changed;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        if (m_properties.value(value.key()) != value.value())
            changed.insert(value.key(), value.value());
    }
    m_properties.insert(changed);
    return changed;
}

QString MprisPlayerAdaptor::playbackStatus() const
{
    return m_properties.value(u"PlaybackStatus"_s).toString();
}

QVariantMap MprisPlayerAdaptor::metadata() const
{
    return m_properties.value(u"Metadata"_s).toMap();
}

double MprisPlayerAdaptor::volume() const
{
    return m_properties.value(u"Volume"_s).toDouble();
}

// The app decides and sets the volume back, which tells the desktop.
void MprisPlayerAdaptor::setVolume(double volume)
{
    Q_EMIT m_controls->volumeRequested(std::clamp(volume, 0.0, 1.0));
}

double MprisPlayerAdaptor::rate() const
{
    return 1.0;
}

// A live stream plays at its own pace; MPRIS lets a player ignore rates it cannot use.
void MprisPlayerAdaptor::setRate(double)
{
}

qlonglong MprisPlayerAdaptor::position() const
{
    return 0;
}

bool MprisPlayerAdaptor::canPlay() const
{
    return m_properties.value(u"CanPlay"_s).toBool();
}

bool MprisPlayerAdaptor::canPause() const
{
    return m_properties.value(u"CanPause"_s).toBool();
}

bool MprisPlayerAdaptor::canControl() const
{
    return true;
}

bool MprisPlayerAdaptor::canSkip() const
{
    return false;
}

void MprisPlayerAdaptor::Play()
{
    if (canPlay())
        Q_EMIT m_controls->playRequested();
}

void MprisPlayerAdaptor::Pause()
{
    if (canPause())
        Q_EMIT m_controls->pauseRequested();
}

void MprisPlayerAdaptor::PlayPause()
{
    // MPRIS would have an error here; QtDBus gives adaptors no call context to send one.
    if (!canPause())
        return;
    if (playbackStatus() == "Playing"_L1)
        Q_EMIT m_controls->pauseRequested();
    else
        Q_EMIT m_controls->playRequested();
}

void MprisPlayerAdaptor::Stop()
{
    Q_EMIT m_controls->stopRequested();
}

// A station has no next or previous track and no position to go to: CanGoNext,
// CanGoPrevious and CanSeek say so, and MPRIS asks these to do nothing then.
void MprisPlayerAdaptor::Next()
{
}

void MprisPlayerAdaptor::Previous()
{
}

void MprisPlayerAdaptor::Seek(qlonglong)
{
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath &, qlonglong)
{
}

void MprisPlayerAdaptor::OpenUri(const QString &)
{
}

} // namespace airnote
