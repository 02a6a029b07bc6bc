// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SaveFileDialog.h"

#include <QDir>
#include <QFileDialog>

namespace airnote {

SaveFileDialog::~SaveFileDialog()
{
    delete m_dialog;
}

void SaveFileDialog::open(const QString &title, const QString &suggestedName)
{
    if (m_dialog) {
        m_dialog->activateWindow();
        return;
    }
    m_dialog = new QFileDialog(nullptr, title, QDir::home().filePath(suggestedName), tr("CSV (*.csv)"));
    m_dialog->setAcceptMode(QFileDialog::AcceptSave);
    m_dialog->setDefaultSuffix(QStringLiteral("csv"));
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    // A widget without a parent widget gets its transient parent through its
    // native window, which winId() creates.
    m_dialog->winId();
    m_dialog->windowHandle()->setTransientParent(m_parentWindow);
    // Qt's own dialog (the one used without a desktop's) emits fileSelected
    // but never urlSelected.
    connect(m_dialog, &QFileDialog::fileSelected, this,
            [this](const QString &file) { Q_EMIT accepted(QUrl::fromLocalFile(file)); });
    connect(m_dialog, &QDialog::finished, this, [this] {
        if (m_parentWindow)
            m_parentWindow->requestActivate();
    });
    m_dialog->open();
}

} // namespace airnote
