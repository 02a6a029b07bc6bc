// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PanelWindow.h"

#include "app/PanelModel.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QScreen>
#include <QStyleHints>

namespace airnote {

PanelWindow::PanelWindow(QQmlEngine *engine, PanelModel *model, Presentation presentation, QWindow *parent)
    : QQuickView(engine, parent)
    , m_presentation(presentation)
{
    setTitle(QStringLiteral("Airnote"));
    if (presentation != Presentation::Windowed) {
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        connect(this, &QWindow::activeChanged, this, &PanelWindow::hideWhenDeactivated);
    }
    setResizeMode(QQuickView::SizeViewToRootObject);
    setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(model)}});
    setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Airnote/UI/PanelContent.qml")));
    // The content is compiled into the module: failing to build it is a broken build, not a runtime state.
    if (!rootObject())
        qFatal("PanelContent.qml: %s", qPrintable(errors().value(0).toString()));
    connect(rootObject(), &QQuickItem::widthChanged, this, &PanelWindow::followContentSize);
    connect(rootObject(), &QQuickItem::heightChanged, this, &PanelWindow::followContentSize);
    followContentSize();
}

PanelWindow::Presentation PanelWindow::presentationFor(bool inTray)
{
    // Without a tray the window is the listener's only way in: an ordinary one.
    if (!inTray)
        return Presentation::Windowed;
    // A Wayland client can neither place its own top-level window nor learn
    // where the icon is (the host's Activate(x, y) is in its own coordinates):
    // the compositor places the panel, which floats there since its size is fixed.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return Presentation::PlacedByCompositor;
    // X11, with an XEmbed tray or a StatusNotifierItem host alike: at the icon,
    // or at the pointer that just clicked it.
    return Presentation::NextToIcon;
}

void PanelWindow::showNextTo(QRect anchor)
{
    if (m_presentation == Presentation::NextToIcon) {
        m_anchor = anchor.isValid() ? anchor : QRect(QCursor::pos(), QSize(1, 1));
        placeNextToAnchor(size());
    }
    show();
    raise();
    requestActivate();
}

void PanelWindow::toggleNextTo(QRect anchor)
{
    // The click on the tray icon that should close the panel first takes the
    // focus away from it, which already hid it: that click must not reopen it.
    const bool justHidden = m_sinceHiddenByDeactivation.isValid()
        && m_sinceHiddenByDeactivation.elapsed() < QGuiApplication::styleHints()->mouseDoubleClickInterval();
    if (isVisible())
        hide();
    else if (!justHidden)
        showNextTo(anchor);
}

QPoint PanelWindow::placement(QRect anchor, QSize panelSize, QRect available)
{
    const bool opensUpwards = anchor.center().y() > available.center().y();
    QPoint position(anchor.center().x() - panelSize.width() / 2,
                    opensUpwards ? anchor.top() - panelSize.height() : anchor.bottom() + 1);
    position.setX(std::clamp(position.x(), available.left(), std::max(available.left(), available.right() + 1 - panelSize.width())));
    position.setY(std::clamp(position.y(), available.top(), std::max(available.top(), available.bottom() + 1 - panelSize.height())));
    return position;
}

void PanelWindow::keyPressEvent(QKeyEvent *event)
{
    if (m_presentation != Presentation::Windowed && event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QQuickView::keyPressEvent(event);
}

void PanelWindow::followContentSize()
{
    // A fixed size: the content decides it, never the window manager.
    const QSize contentSize = rootObject()->size().toSize();
    setMinimumSize(contentSize);
    setMaximumSize(contentSize);
    // The panel opens at its "Chargement…" size and grows when the track comes:
    // place it again so that it stays on screen next to the icon.
    if (m_presentation == Presentation::NextToIcon && isVisible())
        placeNextToAnchor(contentSize);
}

void PanelWindow::placeNextToAnchor(QSize panelSize)
{
    QScreen *screen = QGuiApplication::screenAt(m_anchor.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    setPosition(placement(m_anchor, panelSize, screen->availableGeometry()));
}

void PanelWindow::hideWhenDeactivated()
{
    if (isActive() || !isVisible())
        return;
    hide();
    m_sinceHiddenByDeactivation.start();
}

} // namespace airnote
