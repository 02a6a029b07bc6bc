// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "history/CaptureRecord.h"

#include <QAbstractListModel>
#include <QList>

#include "core/Coroutines.h"

namespace airnote {

class CaptureStore;

// The capture history as the panel lists it, newest first, read from the store
// on reload(). A history that cannot be read lists as empty.
class HistoryModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    // The record's status, named for QML, which reads only capitalised enum keys.
    enum Status { Saved, NoMatch, SaveFailed, Logged };
    Q_ENUM(Status)

    enum Role { TitleRole = Qt::UserRole + 1, ArtistRole, TimestampRole, StatusRole };

    explicit HistoryModel(CaptureStore *store, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Reads the store again; loaded() follows. Asked again while it reads, it
    // reads once more afterwards, not twice at once.
    void reload();

Q_SIGNALS:
    void countChanged();
    void loaded();

private:
    QCoro::Task<> load();

    CaptureStore *m_store;
    QList<CaptureRecord> m_newestFirst;
    bool m_loading = false;
    bool m_reloadAsked = false;
};

} // namespace airnote
