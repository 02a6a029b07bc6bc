// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TintedIcon.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSvgRenderer>

namespace airnote {

TintedIcon::TintedIcon(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    connect(this, &TintedIcon::nameChanged, this, &QQuickItem::update);
    connect(this, &TintedIcon::colorChanged, this, &QQuickItem::update);
}

void TintedIcon::paint(QPainter *painter)
{
    // Rendered at the screen's pixel size so the icon stays sharp on scaled screens.
    const qreal pixelRatio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    painter->drawImage(boundingRect(), render(m_name, m_color, (size() * pixelRatio).toSize()));
}

QImage TintedIcon::render(const QString &name, const QColor &color, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (name.isEmpty() || size.isEmpty())
        return image;
    QSvgRenderer renderer(QStringLiteral(":/qt-project.org/imports/Airnote/UI/icons/%1.svg").arg(name));

    QSizeF fitted = renderer.defaultSize();
    fitted.scale(size, Qt::KeepAspectRatio);
    const QRectF target(QPointF((size.width() - fitted.width()) / 2, (size.height() - fitted.height()) / 2), fitted);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, target);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

} // namespace airnote
