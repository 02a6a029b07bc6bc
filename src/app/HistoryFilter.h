// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QSortFilterProxyModel>

namespace airnote {

class HistoryModel;

// The history rows the search field lets through: the query found in the
// artist or the title, both compared after normalize() as the duplicate guard
// compares them, and optionally one outcome only.
class HistoryFilter : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    // A HistoryModel::Status, or -1 for every outcome.
    Q_PROPERTY(int status READ status WRITE setStatus NOTIFY statusChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    explicit HistoryFilter(HistoryModel *history, QObject *parent = nullptr);

    QString query() const;
    void setQuery(const QString &query);
    int status() const;
    void setStatus(int status);

    // The record shown at row, empty past the last.
    Q_INVOKABLE QString recordIDAt(int row) const;

Q_SIGNALS:
    void queryChanged();
    void statusChanged();
    void countChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    QString m_query;
    QString m_normalizedQuery;
    int m_status = -1;
};

} // namespace airnote
