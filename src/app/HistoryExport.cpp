// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "HistoryExport.h"

#include "core/Error.h"
#include "history/CaptureStore.h"
#include "history/HistoryCsv.h"

#include <QCoroFuture>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <cstdio>

namespace airnote {

namespace {

// Runs on a pool thread; answers the system's complaint, or an empty text.
QString writeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return file.errorString();
    return {};
}

QCoro::Task<> exportAndQuit(CaptureStore *store, QString path)
{
    std::optional<QString> failure;
    try {
        co_await HistoryExport::write(store, path);
    } catch (const Error &error) {
        failure = error.localizedDescription();
    }
    if (failure)
        std::fprintf(stderr, "airnote: %s\n", qUtf8Printable(*failure));
    QCoreApplication::exit(failure ? 2 : 0);
}

} // namespace

std::optional<QString> HistoryExport::refusal(const QString &path)
{
    if (path.isEmpty())
        return tr("Export impossible : aucun fichier indiqué");
    const QFileInfo target(path);
    if (target.isDir())
        return tr("Export impossible : %1 est un dossier").arg(QDir::toNativeSeparators(target.absoluteFilePath()));
    if (!target.absoluteDir().exists())
        return tr("Export impossible : le dossier %1 n'existe pas").arg(QDir::toNativeSeparators(target.absolutePath()));
    // The write goes through a temporary file beside the target: that must be allowed.
    QTemporaryFile probe(target.absoluteDir().filePath(QStringLiteral(".airnote-export-XXXXXX")));
    if (!probe.open())
        return tr("Export impossible : %1").arg(probe.errorString());
    return std::nullopt;
}

QCoro::Task<> HistoryExport::write(CaptureStore *store, QString path)
{
    if (const std::optional<QString> refused = refusal(path))
        throw FileError(*refused);
    QList<CaptureRecord> records;
    std::optional<QString> unreadable;
    try {
        records = co_await store->loadAll();
    } catch (const Error &error) {
        unreadable = error.localizedDescription();
    }
    if (unreadable)
        throw FileError(tr("Historique illisible, rien n'est exporté : %1").arg(*unreadable));
    const QByteArray csv = HistoryCsv::encode(records);
    QFuture<QString> writing = QtConcurrent::run(&writeFile, path, csv);
    const QString complaint = co_await writing;
    if (!complaint.isEmpty())
        throw FileError(tr("Export impossible : %1").arg(complaint));
}

int HistoryExport::runAlone(const QString &path)
{
    CaptureStore store;
    // Started inside the loop, so that an export failing at once still ends it.
    QTimer::singleShot(0, [&store, path] { exportAndQuit(&store, path); });
    return QCoreApplication::exec();
}

} // namespace airnote
