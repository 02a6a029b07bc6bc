// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QElapsedTimer>
#include <QQuickView>

namespace airnote {

class PanelModel;

// The window that holds the panel's content. From the tray, it is a frameless
// panel that hides on Escape and when it loses focus; without a tray, an
// ordinary window titled "Airnote". Either way it is sized to its content.
class PanelWindow : public QQuickView
{
    Q_OBJECT

public:
    enum class Presentation { NextToIcon, PlacedByCompositor, Windowed };

    // How the panel is presented on this platform, with or without a tray.
    static Presentation presentationFor(bool inTray);

    // The content comes from engine, which must outlive the window.
    PanelWindow(QQmlEngine *engine, PanelModel *model, Presentation presentation, QWindow *parent = nullptr);

    // anchor: the tray icon's geometry, or an invalid rectangle when the
    // desktop does not tell it; the cursor position stands in then. Only the
    // panel next to the icon is placed; other windows are placed by the window manager.
    void showNextTo(QRect anchor);
    void toggleNextTo(QRect anchor);

    // Where a panel of the given size opens: centred under the anchor, or above
    // it when the anchor sits in the lower half, kept inside the available area.
    static QPoint placement(QRect anchor, QSize panelSize, QRect available);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void followContentSize();
    void placeNextToAnchor(QSize panelSize);
    void hideWhenDeactivated();

    Presentation m_presentation;
    QRect m_anchor;  // where the panel was last opened
    QElapsedTimer m_sinceHiddenByDeactivation;
};

} // namespace airnote
