// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QColor>
#include <QImage>
#include <QNetworkReply>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// An image loaded from an address and drawn into a rounded square, cropped to
// fill it. Qt Quick 6.4 has no rounded clip without shader tooling, so the
// corners are drawn here; until an image has loaded the shape is filled with
// the placeholder colour.
class RoundedImage : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl source MEMBER m_source NOTIFY sourceChanged)
    Q_PROPERTY(qreal radius MEMBER m_radius NOTIFY radiusChanged)
    Q_PROPERTY(QColor placeholderColor MEMBER m_placeholderColor NOTIFY placeholderColorChanged)
    Q_PROPERTY(bool isLoaded READ isLoaded NOTIFY isLoadedChanged)

public:
    explicit RoundedImage(QQuickItem *parent = nullptr);
    ~RoundedImage() override;

    bool isLoaded() const;

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void sourceChanged();
    void radiusChanged();
    void placeholderColorChanged();
    void isLoadedChanged();

protected:
    void componentComplete() override;

private:
    void reload();
    void setImage(const QImage &image);
    void load();
    void abortLoad();

    QUrl m_source;
    qreal m_radius = 0;
    QColor m_placeholderColor = Qt::transparent;
    QImage m_image;
    QPointer<QNetworkReply> m_reply;
};

} // namespace airnote
