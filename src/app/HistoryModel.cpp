// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "HistoryModel.h"

#include "core/Error.h"
#include "history/CaptureStore.h"

#include <QPointer>

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

HistoryModel::HistoryModel(CaptureStore *store, QObject *parent)
    : QAbstractListModel(parent)
    , m_store(store)
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
    const CaptureRecord &record = m_newestFirst.at(index.row());
    switch (role) {
    case TitleRole:
        return record.fipTitle();
    case ArtistRole:
        return record.fipArtist();
    case TimestampRole:
        return record.timestamp();
    case StatusRole:
        return statusOf(record.status());
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryModel::roleNames() const
{
    return {{TitleRole, "fipTitle"}, {ArtistRole, "fipArtist"}, {TimestampRole, "timestamp"}, {StatusRole, "status"}};
}

void HistoryModel::reload()
{
    if (m_loading) {
        m_reloadAsked = true;
        return;
    }
    load();
}

QCoro::Task<> HistoryModel::load()
{
    QPointer<HistoryModel> self(this);
    m_loading = true;
    QList<CaptureRecord> records;
    try {
        records = co_await m_store->loadAll();
    } catch (const Error &) {
        // An unreadable history shows as an empty one; the next reload reads the file again.
    }
    if (!self)
        co_return;
    m_loading = false;
    std::reverse(records.begin(), records.end());
    const bool countChanges = records.size() != m_newestFirst.size();
    beginResetModel();
    m_newestFirst = std::move(records);
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
    Q_EMIT loaded();
    if (std::exchange(m_reloadAsked, false))
        load();
}

} // namespace airnote
