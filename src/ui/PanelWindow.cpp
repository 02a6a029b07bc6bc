// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PanelWindow.h"

#include "app/AirnoteApp.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQmlComponent>
#include <QQuickItem>
#include <QScreen>
#include <QStyleHints>

namespace airnote {

PanelWindow::PanelWindow(AirnoteApp *app, Presentation presentation, QWindow *parent)
    : QQuickView(parent)
    , m_presentation(presentation)
{
    setTitle(QStringLiteral("Airnote"));
    if (presentation == Presentation::Attached) {
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        connect(this, &QWindow::activeChanged, this, &PanelWindow::hideWhenDeactivated);
    }
    setResizeMode(QQuickView::SizeViewToRootObject);
    setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(app)}});
    setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Airnote/UI/PanelContent.qml")));
    if (QQuickItem *content = rootObject()) {
        connect(content, &QQuickItem::widthChanged, this, &PanelWindow::followContentSize);
        connect(content, &QQuickItem::heightChanged, this, &PanelWindow::followContentSize);
        followContentSize();
    }

    QQmlComponent dialog(engine(), QUrl(QStringLiteral("qrc:/qt-project.org/imports/Airnote/UI/UpdateDialog.qml")));
    m_updateDialog.reset(qobject_cast<QQuickWindow *>(
        dialog.createWithInitialProperties({{QStringLiteral("updater"), QVariant::fromValue(app->updater())}})));
    // The dialog is compiled into the module: failing to build it is a broken build, not a runtime state.
    if (!m_updateDialog)
        qFatal("UpdateDialog.qml: %s", qPrintable(dialog.errorString()));
    connect(app, &AirnoteApp::updateCheckFinished, this, &PanelWindow::showUpdateDialog);
}

PanelWindow::~PanelWindow() = default;

QQuickWindow *PanelWindow::updateDialog() const
{
    return m_updateDialog.get();
}

void PanelWindow::showNextTo(QRect anchor)
{
    if (!anchor.isValid())
        anchor = QRect(QCursor::pos(), QSize(1, 1));
    m_anchor = anchor;
    placeNextToAnchor(size());
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
    if (m_presentation == Presentation::Attached && event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QQuickView::keyPressEvent(event);
}

void PanelWindow::showUpdateDialog()
{
    // A window of its own rather than one tied to the panel: a scheduled check
    // can find an update while the panel is closed.
    const QRect available = (isVisible() ? screen() : QGuiApplication::primaryScreen())->availableGeometry();
    m_updateDialog->setPosition(available.center() - QPoint(m_updateDialog->width() / 2, m_updateDialog->height() / 2));
    m_updateDialog->show();
    m_updateDialog->raise();
    m_updateDialog->requestActivate();
}

void PanelWindow::followContentSize()
{
    // A fixed size: the content decides it, never the window manager.
    const QSize contentSize = rootObject()->size().toSize();
    setMinimumSize(contentSize);
    setMaximumSize(contentSize);
    // The panel opens at its "Chargement…" size and grows when the track comes:
    // place it again so that it stays on screen next to the icon.
    if (m_presentation == Presentation::Attached && isVisible())
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
