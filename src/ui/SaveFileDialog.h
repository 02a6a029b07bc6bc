// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace airnote {

// The desktop's save dialog for QML: Debian 12 ships no Qt Quick Dialogs for
// Qt 6, so the Widgets one stands in, opened without blocking the panel.
class SaveFileDialog : public QObject
{
    Q_OBJECT
    QML_ELEMENT

public:
    using QObject::QObject;

    Q_INVOKABLE void open(const QString &title, const QString &suggestedName);

Q_SIGNALS:
    void accepted(const QUrl &file);
};

} // namespace airnote
