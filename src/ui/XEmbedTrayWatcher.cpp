// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "XEmbedTrayWatcher.h"

#include "core/Logging.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

namespace airnote {

namespace {

// The screen part of DISPLAY (":0.1" is screen 1), as Xlib reads it.
int displayScreen()
{
    const QByteArray display = qgetenv("DISPLAY");
    const qsizetype dot = display.lastIndexOf('.');
    return dot > display.lastIndexOf(':') ? display.mid(dot + 1).toInt() : 0;
}

} // namespace

XEmbedTrayWatcher::XEmbedTrayWatcher(QObject *parent)
    : QObject(parent)
{
    const auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11)
        return;
    m_connection = x11->connection();
    m_selection = internAtom("_NET_SYSTEM_TRAY_S" + QByteArray::number(displayScreen()));
    m_manager = internAtom("MANAGER");
    qGuiApp->installNativeEventFilter(this);
    recheck();
}

XEmbedTrayWatcher::~XEmbedTrayWatcher()
{
    if (m_connection && qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool XEmbedTrayWatcher::trayPresent() const
{
    return m_owner != XCB_NONE;
}

bool XEmbedTrayWatcher::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    switch (event->response_type & ~0x80) {
    case XCB_CLIENT_MESSAGE: {
        const auto *clientMessage = static_cast<const xcb_client_message_event_t *>(message);
        if (clientMessage->type == m_manager && clientMessage->data.data32[1] == m_selection)
            recheck();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (static_cast<const xcb_destroy_notify_event_t *>(message)->window == m_owner)
            recheck();
        break;
    }
    // Qt's own tray code needs these events too.
    return false;
}

xcb_atom_t XEmbedTrayWatcher::internAtom(const QByteArray &name) const
{
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, false, name.size(), name.constData()), nullptr),
        &std::free);
    return reply ? reply->atom : XCB_NONE;
}

xcb_window_t XEmbedTrayWatcher::currentOwner() const
{
    const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr),
        &std::free);
    return reply ? reply->owner : XCB_NONE;
}

void XEmbedTrayWatcher::recheck()
{
    xcb_window_t owner = currentOwner();
    while (owner != XCB_NONE) {
        // Its destruction is how we learn the tray has gone; Qt asks the same of
        // this window. Asked again after: a tray gone in between sent no event.
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, owner, XCB_CW_EVENT_MASK, &mask);
        const xcb_window_t again = currentOwner();
        if (again == owner)
            break;
        owner = again;
    }
    if (owner == m_owner)
        return;
    const bool wasPresent = trayPresent();
    m_owner = owner;
    if (trayPresent() != wasPresent) {
        qCInfo(uiLogger, trayPresent() ? "An XEmbed system tray is on the display" : "The XEmbed system tray left");
        Q_EMIT trayPresentChanged(trayPresent());
    }
}

} // namespace airnote
