#include "TrayIcon.h"

#include "PanelWindow.h"
#include "TintedIcon.h"
#include "app/AirnoteApp.h"

#include <QGuiApplication>
#include <QPalette>
#include <QPixmap>

namespace airnote {

TrayIcon::TrayIcon(PanelWindow *panel, AirnoteApp *app, QObject *parent)
    : QSystemTrayIcon(parent)
    , m_panel(panel)
{
    // Tray panels draw their icons in the desktop's text colour; the palette is our best guess of it.
    const QColor ink = QGuiApplication::palette().color(QPalette::WindowText);
    setIcon(QIcon(QPixmap::fromImage(TintedIcon::render(QStringLiteral("radio"), ink, QSize(64, 64)))));
    setToolTip(QStringLiteral("Airnote"));

    m_menu.addAction(QStringLiteral("Ouvrir"), panel, [this] { m_panel->showNextTo(geometry()); });
    m_menu.addAction(QStringLiteral("Quitter"), app, &AirnoteApp::quit);
    setContextMenu(&m_menu);

    connect(this, &QSystemTrayIcon::activated, this, &TrayIcon::onActivated);
}

void TrayIcon::onActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::Trigger)
        m_panel->toggleNextTo(geometry());
}

} // namespace airnote
