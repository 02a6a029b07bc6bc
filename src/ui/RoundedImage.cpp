// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RoundedImage.h"

#include "core/Error.h"
#include "platform/WebSession.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>
#include <QQmlEngine>

#include <utility>

namespace airnote {

namespace {

// Maps the image onto the item so that it covers it, aspect ratio kept and
// centred, the overflow falling outside the item.
QTransform coveringTransform(QSizeF image, QSizeF item)
{
    const qreal scale = std::max(item.width() / image.width(), item.height() / image.height());
    const QPointF offset((item.width() - image.width() * scale) / 2, (item.height() - image.height() * scale) / 2);
    return QTransform::fromTranslate(offset.x(), offset.y()).scale(scale, scale);
}

} // namespace

RoundedImage::RoundedImage(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &RoundedImage::sourceChanged, this, &RoundedImage::reload);
    connect(this, &RoundedImage::radiusChanged, this, &QQuickItem::update);
    connect(this, &RoundedImage::placeholderColorChanged, this, &QQuickItem::update);
}

RoundedImage::~RoundedImage()
{
    abortLoad();
}

bool RoundedImage::isLoaded() const
{
    return !m_image.isNull();
}

void RoundedImage::paint(QPainter *painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setPen(Qt::NoPen);
    if (m_image.isNull()) {
        painter->setBrush(m_placeholderColor);
    } else {
        // A brush rather than a clip path: raster clipping has jagged edges.
        QBrush brush(m_image);
        brush.setTransform(coveringTransform(m_image.size(), size()));
        painter->setBrush(brush);
    }
    painter->drawRoundedRect(boundingRect(), m_radius, m_radius);
}

void RoundedImage::componentComplete()
{
    QQuickPaintedItem::componentComplete();
    reload();
}

void RoundedImage::reload()
{
    abortLoad();
    setImage({});
    // The engine's network access manager is reachable only once the item is complete.
    if (isComponentComplete() && !m_source.isEmpty())
        load();
}

void RoundedImage::setImage(const QImage &image)
{
    const bool wasLoaded = isLoaded();
    m_image = image;
    update();
    if (wasLoaded != isLoaded())
        Q_EMIT isLoadedChanged();
}

void RoundedImage::load()
{
    QQmlEngine *engine = qmlEngine(this);
    if (!engine)
        return;
    QNetworkReply *reply = WebSession::start(engine->networkAccessManager(),
                                             WebRequest(QNetworkRequest(m_source), WebRequest::Kind::image));
    m_reply = reply;
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        // A failed load leaves the placeholder, as does an answer for an address no longer shown.
        if (reply != m_reply)
            return;
        try {
            const WebResponse response = WebSession::response(*reply);
            if (response.isSuccess())
                setImage(QImage::fromData(response.data));
        } catch (const NetworkError &) {
            // Refused or cut short: the placeholder stays.
        }
    });
}

// The engine owns the reply; an abandoned load stops using the network at once.
void RoundedImage::abortLoad()
{
    if (QPointer<QNetworkReply> reply = std::exchange(m_reply, nullptr))
        reply->abort();
}

} // namespace airnote
