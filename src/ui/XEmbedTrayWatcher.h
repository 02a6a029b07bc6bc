// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <xcb/xcb.h>

namespace airnote {

// Tells whether an X11 system tray (the XEmbed protocol: trayer, stalonetray,
// older panels) runs on this display, and when that changes. A tray announces
// itself by owning the _NET_SYSTEM_TRAY_S<screen> selection and broadcasting
// MANAGER on the root window, which Qt already listens to; it leaves when its
// window is destroyed. Off X11 there is never such a tray.
class XEmbedTrayWatcher : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit XEmbedTrayWatcher(QObject *parent = nullptr);
    ~XEmbedTrayWatcher() override;

    bool trayPresent() const;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void trayPresentChanged(bool present);

private:
    xcb_atom_t internAtom(const QByteArray &name) const;
    xcb_window_t currentOwner() const;
    void recheck();

    xcb_connection_t *m_connection = nullptr;
    xcb_atom_t m_selection = XCB_NONE;
    xcb_atom_t m_manager = XCB_NONE;
    xcb_window_t m_owner = XCB_NONE;
};

} // namespace airnote
