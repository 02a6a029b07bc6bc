// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "history/CaptureRecord.h"
#include "station/FIPTrack.h"

#include <QAbstractListModel>
#include <QList>
#include <QUrl>

#include "core/Coroutines.h"

#include <optional>

namespace airnote {

class AppleMusicService;
class CaptureStore;

// The capture history as the panel lists it, newest first, read from the store
// on reload(), with what the listener can do with each row: copy it, open a
// saved song in Apple Music, export the whole. A history that cannot be read
// lists as empty and says why.
class HistoryModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // Why the history last read could not be read, so nothing in it can be acted on or
    // exported; empty when it was read.
    Q_PROPERTY(QString unreadableReason READ unreadableReason NOTIFY loaded)
    // The outcome of the last export from the panel, for the listener.
    Q_PROPERTY(QString exportMessage READ exportMessage NOTIFY exportMessageChanged)

public:
    // The record's status, named for QML, which reads only capitalised enum keys.
    enum Status { Saved, NoMatch, SaveFailed, Logged };
    Q_ENUM(Status)

    enum Role {
        TitleRole = Qt::UserRole + 1,
        ArtistRole,
        TimestampRole,
        StatusRole,
        IdRole,
        AppleMusicLinkRole,
        // normalize()d artist and title, what the search field compares against.
        NormalizedArtistRole,
        NormalizedTitleRole,
    };

    HistoryModel(CaptureStore *store, AppleMusicService *music, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString unreadableReason() const;
    QString exportMessage() const;

    // Reads the store again; loaded() follows. Asked again while it reads, it
    // reads once more afterwards, not twice at once.
    void reload();

    // The record's track, for a save asked again; none for a record that is
    // not a note for later or a failed save.
    std::optional<FIPTrack> trackToRetry(const QString &recordID) const;

    Q_INVOKABLE void onCopy(const QString &recordID);
    // False for a row with no song to open.
    Q_INVOKABLE bool onOpen(const QString &recordID);
    Q_INVOKABLE void onExport(const QUrl &file);

    // Writes the history to path and tells the outcome in exportMessage.
    QCoro::Task<> exportTo(QString path);

Q_SIGNALS:
    void countChanged();
    void loaded();
    void exportMessageChanged();

private:
    struct Row
    {
        CaptureRecord record;
        QString normalizedArtist;
        QString normalizedTitle;
    };

    // Runs on a pool thread: normalising 10,000 records takes tens of milliseconds.
    static QList<Row> rowsNewestFirst(const QList<CaptureRecord> &records);
    QCoro::Task<> load();
    const Row *rowWithID(const QString &recordID) const;
    QUrl appleMusicLink(const CaptureRecord &record) const;
    void setExportMessage(QString message);

    CaptureStore *m_store;
    AppleMusicService *m_music;
    QList<Row> m_newestFirst;
    QString m_unreadableReason;
    QString m_exportMessage;
    bool m_loading = false;
    bool m_reloadAsked = false;
};

} // namespace airnote
