#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace airnote {

class AirnoteApp;
class PanelWindow;

// The radio in the tray: a click opens or closes the panel next to it; a menu
// offers the same for desktops that only open menus from tray icons.
class TrayIcon : public QSystemTrayIcon
{
    Q_OBJECT

public:
    TrayIcon(PanelWindow *panel, AirnoteApp *app, QObject *parent = nullptr);

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);

    PanelWindow *m_panel;
    QMenu m_menu;
};

} // namespace airnote
