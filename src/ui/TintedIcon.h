// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QColor>
#include <QImage>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// One of the module's single-colour SVG icons, painted in any colour: the
// icons are drawn in black and recoloured, so light and dark themes share them.
class TintedIcon : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name MEMBER m_name NOTIFY nameChanged)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY colorChanged)

public:
    explicit TintedIcon(QQuickItem *parent = nullptr);

    void paint(QPainter *painter) override;

    // The named icon at the given pixel size, its aspect ratio kept and centred.
    static QImage render(const QString &name, const QColor &color, QSize size);

Q_SIGNALS:
    void nameChanged();
    void colorChanged();

private:
    QString m_name;
    QColor m_color = Qt::black;
};

} // namespace airnote
