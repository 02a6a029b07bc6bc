// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "HistoryModel.h"

#include "app/HistoryExport.h"
#include "core/Error.h"
#include "core/Logging.h"
#include "core/Normalization.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"

#include <QClipboard>
#include <QCoroFuture>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <utility>

namespace airnote {

namespace {

HistoryModel::Status statusOf(CaptureRecord::Status status)
{
    switch (status) {
    case CaptureRecord::Status::saved:
        return HistoryModel::Saved;
    case CaptureRecord::Status::noMatch:
        return HistoryModel::NoMatch;
    case CaptureRecord::Status::saveFailed:
        return HistoryModel::SaveFailed;
    case CaptureRecord::Status::logged:
        return HistoryModel::Logged;
    }
    Q_UNREACHABLE();
}

} // namespace

HistoryModel::HistoryModel(CaptureStore *store, AppleMusicService *music, QObject *parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_music(music)
{
}

int HistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_newestFirst.size());
}

QVariant HistoryModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_newestFirst.at(index.row());
    const CaptureRecord &record = row.record;
    switch (role) {
    case TitleRole:
        return record.fipTitle();
    case ArtistRole:
        return record.fipArtist();
    case TimestampRole:
        return record.timestamp();
    case StatusRole:
        return statusOf(record.status());
    case IdRole:
        return record.idText();
    case AppleMusicLinkRole:
        return appleMusicLink(record);
    case NormalizedArtistRole:
        return row.normalizedArtist;
    case NormalizedTitleRole:
        return row.normalizedTitle;
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryModel::roleNames() const
{
    return {{TitleRole, "fipTitle"},     {ArtistRole, "fipArtist"}, {TimestampRole, "timestamp"},
            {StatusRole, "status"},      {IdRole, "recordID"},      {AppleMusicLinkRole, "appleMusicLink"}};
}

QString HistoryModel::unreadableReason() const
{
    return m_unreadableReason;
}

QString HistoryModel::exportMessage() const
{
    return m_exportMessage;
}

void HistoryModel::reload()
{
    if (m_loading) {
        m_reloadAsked = true;
        return;
    }
    load();
}

std::optional<FIPTrack> HistoryModel::trackToRetry(const QString &recordID) const
{
    const Row *row = rowWithID(recordID);
    if (!row)
        return std::nullopt;
    const CaptureRecord &record = row->record;
    if (record.status() != CaptureRecord::Status::noMatch && record.status() != CaptureRecord::Status::saveFailed)
        return std::nullopt;
    FIPTrack track;
    track.artist = record.fipArtist();
    track.title = record.fipTitle();
    track.album = record.fipAlbum();
    track.isMusicTrack = true;
    track.webradio = record.station();
    return track;
}

void HistoryModel::onCopy(const QString &recordID)
{
    if (const Row *row = rowWithID(recordID)) {
        QGuiApplication::clipboard()->setText(
            row->record.fipArtist() + QStringLiteral(" \u2014 ") + row->record.fipTitle());
    }
}

bool HistoryModel::onOpen(const QString &recordID)
{
    const Row *row = rowWithID(recordID);
    const QUrl link = row ? appleMusicLink(row->record) : QUrl();
    return !link.isEmpty() && QDesktopServices::openUrl(link);
}

void HistoryModel::onExport(const QUrl &file)
{
    exportTo(file.toLocalFile());
}

QCoro::Task<> HistoryModel::exportTo(QString path)
{
    QPointer<HistoryModel> self(this);
    std::optional<QString> failure;
    try {
        co_await HistoryExport::write(m_store, path);
    } catch (const Error &error) {
        failure = error.localizedDescription();
    }
    if (!self)
        co_return;
    if (failure) {
        qCCritical(uiLogger).noquote() << "History export failed:" << *failure;
        setExportMessage(*failure);
        co_return;
    }
    qCInfo(uiLogger).noquote() << "History exported to" << path;
    setExportMessage(tr("Historique exporté dans %1").arg(path));
}

QCoro::Task<> HistoryModel::load()
{
    QPointer<HistoryModel> self(this);
    m_loading = true;
    QList<CaptureRecord> records;
    QString unreadable;
    try {
        records = co_await m_store->loadAll();
    } catch (const Error &error) {
        // Listed as empty, with the reason; the next reload reads the file again.
        unreadable = tr("Historique illisible : %1").arg(error.localizedDescription());
    }
    // Normalised once here, so that each keystroke in the search field only compares.
    QFuture<QList<Row>> normalizing = QtConcurrent::run(&HistoryModel::rowsNewestFirst, records);
    QList<Row> rows = co_await normalizing;
    if (!self)
        co_return;
    m_loading = false;
    const bool countChanges = rows.size() != m_newestFirst.size();
    beginResetModel();
    m_newestFirst = std::move(rows);
    m_unreadableReason = std::move(unreadable);
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
    Q_EMIT loaded();
    if (std::exchange(m_reloadAsked, false))
        load();
}

QList<HistoryModel::Row> HistoryModel::rowsNewestFirst(const QList<CaptureRecord> &records)
{
    QList<Row> rows;
    rows.reserve(records.size());
    for (auto record = records.crbegin(); record != records.crend(); ++record)
        rows.append(Row{*record, normalize(record->fipArtist()), normalize(record->fipTitle())});
    return rows;
}

const HistoryModel::Row *HistoryModel::rowWithID(const QString &recordID) const
{
    const auto found = std::find_if(m_newestFirst.cbegin(), m_newestFirst.cend(),
                                    [&recordID](const Row &row) { return row.record.idText() == recordID; });
    return found == m_newestFirst.cend() ? nullptr : &*found;
}

QUrl HistoryModel::appleMusicLink(const CaptureRecord &record) const
{
    const std::optional<QString> songID = record.appleSongID();
    if (record.status() != CaptureRecord::Status::saved || !songID)
        return {};
    QUrl link(QStringLiteral("https://music.apple.com"));
    // The identifier comes from a file anyone may edit: it stays one path segment.
    const QString segment = QString::fromLatin1(QUrl::toPercentEncoding(*songID));
    link.setPath(QStringLiteral("/%1/song/%2").arg(m_music->knownStorefront(), segment), QUrl::TolerantMode);
    return link;
}

void HistoryModel::setExportMessage(QString message)
{
    m_exportMessage = std::move(message);
    Q_EMIT exportMessageChanged();
}

} // namespace airnote
