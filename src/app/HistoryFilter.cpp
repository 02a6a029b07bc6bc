// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "HistoryFilter.h"

#include "app/HistoryModel.h"
#include "core/Normalization.h"

namespace airnote {

HistoryFilter::HistoryFilter(HistoryModel *history, QObject *parent)
    : QSortFilterProxyModel(parent)
{
    setSourceModel(history);
    connect(this, &QAbstractItemModel::modelReset, this, &HistoryFilter::countChanged);
    connect(this, &QAbstractItemModel::rowsInserted, this, &HistoryFilter::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &HistoryFilter::countChanged);
}

QString HistoryFilter::query() const
{
    return m_query;
}

void HistoryFilter::setQuery(const QString &query)
{
    if (query == m_query)
        return;
    m_query = query;
    // A reset, not the proxy's row-by-row removals and insertions: at 10,000
    // records those scattered ranges cost the list a frame and more.
    beginResetModel();
    m_normalizedQuery = normalize(query);
    endResetModel();
    Q_EMIT queryChanged();
}

int HistoryFilter::status() const
{
    return m_status;
}

void HistoryFilter::setStatus(int status)
{
    if (status == m_status)
        return;
    m_status = status;
    invalidateRowsFilter();
    Q_EMIT statusChanged();
}

QString HistoryFilter::recordIDAt(int row) const
{
    return index(row, 0).data(HistoryModel::IdRole).toString();
}

bool HistoryFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    if (m_status >= 0 && row.data(HistoryModel::StatusRole).toInt() != m_status)
        return false;
    if (m_normalizedQuery.isEmpty())
        return true;
    return row.data(HistoryModel::NormalizedArtistRole).toString().contains(m_normalizedQuery)
        || row.data(HistoryModel::NormalizedTitleRole).toString().contains(m_normalizedQuery);
}

} // namespace airnote
