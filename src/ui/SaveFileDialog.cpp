// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SaveFileDialog.h"

#include <QDir>
#include <QFileDialog>

namespace airnote {

void SaveFileDialog::open(const QString &title, const QString &suggestedName)
{
    auto *dialog = new QFileDialog(nullptr, title, QDir::home().filePath(suggestedName), tr("CSV (*.csv)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::urlSelected, this, &SaveFileDialog::accepted);
    dialog->open();
}

} // namespace airnote
