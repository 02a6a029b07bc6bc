// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include <QGuiApplication>
#include <QQuickView>

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    // Shown the way the app shows its panel when it has no tray.
    QQuickView view;
    view.setTitle(QStringLiteral("Airnote baseline"));
    view.setResizeMode(QQuickView::SizeViewToRootObject);
    view.setSource(QUrl(QStringLiteral("qrc:/AirnoteBaseline/Main.qml")));
    if (view.status() != QQuickView::Ready)
        return 1;
    view.show();
    return QGuiApplication::exec();
}
