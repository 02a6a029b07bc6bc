// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

class QFileDialog;

namespace airnote {

// The desktop's save dialog for QML: Debian 12 ships no Qt Quick Dialogs for
// Qt 6, so the Widgets one stands in, opened without blocking the panel.
class SaveFileDialog : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    // The window the dialog belongs to: it stays above it and hands the focus
    // back to it when it closes.
    Q_PROPERTY(QWindow *parentWindow MEMBER m_parentWindow)

public:
    using QObject::QObject;
    // A dialog still open goes with this object: its answer would reach nobody.
    ~SaveFileDialog() override;

    Q_INVOKABLE void open(const QString &title, const QString &suggestedName);

Q_SIGNALS:
    void accepted(const QUrl &file);

private:
    QPointer<QWindow> m_parentWindow;
    QPointer<QFileDialog> m_dialog;
};

} // namespace airnote
