// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SaveWorkflow.h"

#include "core/Error.h"
#include "core/Logging.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"
#include "station/FIPMetadataService.h"

#include <QDateTime>
#include <QPointer>
#include <QUuid>

#include <algorithm>

namespace airnote {

namespace {

constexpr double duplicateWindowSeconds = 300.0;
constexpr double duplicateHoldSeconds = 1.8;
constexpr double successHoldSeconds = 1.8;
constexpr double searchFailureHoldSeconds = 3.0;
constexpr double saveFailureHoldSeconds = 3.5;
// How long a save asked before the first track waits for one.
constexpr double trackWaitSeconds = 30.0;

CaptureRecord newRecord(const FIPTrack &track, CaptureRecord::Status status,
                        const CatalogMatch *chosen = nullptr, std::optional<QString> errorMessage = std::nullopt)
{
    return CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc(), track.artist, track.title, track.album,
                         chosen ? std::optional(chosen->song.id) : std::nullopt,
                         chosen ? std::optional(chosen->confidence) : std::nullopt, status, std::move(errorMessage),
                         track.webradio);
}

} // namespace

SaveWorkflow::SaveWorkflow(FIPMetadataService *fip, AppleMusicService *music, CaptureStore *store, QObject *parent)
    : QObject(parent)
    , m_fip(fip)
    , m_music(music)
    , m_store(store)
{
    // A timer rather than a suspended coroutine, so quitting during a hold leaves nothing behind.
    m_holdTimer.setSingleShot(true);
    connect(&m_holdTimer, &QTimer::timeout, this, [this] { setSheet(std::nullopt); });
    m_trackWait.setSingleShot(true);
    connect(&m_trackWait, &QTimer::timeout, this, [this] {
        stopWaitingForTrack();
        qCInfo(musicLogger) << "Save request dropped: no track arrived in time";
    });
}

const std::optional<SheetState> &SaveWorkflow::sheet() const
{
    return m_sheet;
}

SheetState SaveWorkflow::sheetForDisplay() const
{
    return m_sheet.value_or(SheetState());
}

QString SaveWorkflow::selectedSongID() const
{
    return m_selectedSongID;
}

void SaveWorkflow::setHoldUnit(std::chrono::milliseconds unit)
{
    m_holdUnit = unit;
}

bool SaveWorkflow::isBusy() const
{
    return m_sheet || m_saveStarting;
}

QCoro::Task<> SaveWorkflow::saveCurrentTrack()
{
    const std::optional<FIPTrack> &current = m_fip->current();
    if (!current || !current->isMusicTrack)
        co_return;
    const FIPTrack track = *current;
    co_await saveTrack(track);
}

QCoro::Task<> SaveWorkflow::saveTrack(FIPTrack track)
{
    // The button is only on the now-playing face, but a desktop shortcut, a
    // retry from the history or a double press can ask again before the first
    // state shows: one run at a time.
    if (isBusy())
        co_return;
    QPointer<SaveWorkflow> self(this);
    m_saveStarting = true;
    std::optional<CaptureRecord> recent;
    try {
        recent = co_await m_store->recentSave(track.artist, track.title, duplicateWindowSeconds);
    } catch (const Error &error) {
        // An unreadable history must not stop a save: no recent save, then.
        qCCritical(musicLogger).noquote() << "History read failed, no duplicate check:" << error.localizedDescription();
    }
    if (!self)
        co_return;
    m_saveStarting = false;

    if (recent) {
        qCInfo(musicLogger).noquote() << "Duplicate save blocked:" << recent->fipTitle();
        showFor(SheetState::AlreadySaved{track.artist, track.title}, duplicateHoldSeconds);
        co_return;
    }

    setSheet(SheetState::Searching{track});
    QList<CatalogMatch> matches;
    std::optional<QString> failure;
    try {
        matches = co_await m_music->searchMatches(track.artist, track.title);
    } catch (const Error &error) {
        failure = error.localizedDescription();
    }
    if (!self)
        co_return;
    if (failure) {
        qCCritical(musicLogger).noquote() << "Search failed:" << *failure;
        showFor(SheetState::Failure{*failure}, searchFailureHoldSeconds);
        co_return;
    }
    setSelectedSongID(matches.isEmpty() ? QString() : matches.constFirst().song.id);
    setSheet(SheetState::Preview{track, matches});
}

QCoro::Task<> SaveWorkflow::confirmSave(FIPTrack track, CatalogMatch match)
{
    QPointer<SaveWorkflow> self(this);
    setSheet(SheetState::Saving{track, match});
    std::optional<QString> failure;
    try {
        co_await m_music->addSong(match.song);
    } catch (const Error &error) {
        failure = error.localizedDescription();
    }
    if (!self)
        co_return;

    const auto status = failure ? CaptureRecord::Status::saveFailed : CaptureRecord::Status::saved;
    co_await appendIgnoringErrors(newRecord(track, status, &match, failure));
    if (!self)
        co_return;
    if (!failure) {
        showFor(SheetState::Success{match.song.artistName, match.song.title}, successHoldSeconds);
        co_return;
    }
    qCCritical(musicLogger).noquote() << "Save failed:" << *failure;
    showFor(SheetState::Failure{*failure}, saveFailureHoldSeconds);
}

QCoro::Task<> SaveWorkflow::logForLater(FIPTrack track)
{
    QPointer<SaveWorkflow> self(this);
    m_decisionPending = true;
    co_await appendIgnoringErrors(newRecord(track, CaptureRecord::Status::noMatch));
    if (!self)
        co_return;
    m_decisionPending = false;
    showFor(SheetState::AlreadySaved{track.artist, track.title}, duplicateHoldSeconds);
}

void SaveWorkflow::cancelSheet()
{
    setSheet(std::nullopt);
}

void SaveWorkflow::saveOnceTrackArrives()
{
    if (m_fip->hasCurrent()) {
        saveCurrentTrack();
        return;
    }
    // One request, the latest, and only for a while: a save asked while offline
    // must not open a preview of whatever plays hours later.
    m_trackWait.start(std::chrono::milliseconds(qRound64(trackWaitSeconds * m_holdUnit.count())));
    if (m_trackArrival)
        return;
    m_trackArrival = connect(m_fip, &FIPMetadataService::currentChanged, this, [this] {
        stopWaitingForTrack();
        saveCurrentTrack();
    });
}

void SaveWorkflow::stopWaitingForTrack()
{
    m_trackWait.stop();
    disconnect(m_trackArrival);
    m_trackArrival = {};
}

void SaveWorkflow::onSave()
{
    saveCurrentTrack();
}

void SaveWorkflow::onSelect(const QString &songID)
{
    const SheetState::Preview *preview = undecidedPreview();
    if (preview && std::any_of(preview->matches.cbegin(), preview->matches.cend(),
                               [&songID](const CatalogMatch &match) { return match.song.id == songID; }))
        setSelectedSongID(songID);
}

void SaveWorkflow::onConfirm(const QString &songID)
{
    const SheetState::Preview *preview = undecidedPreview();
    if (!preview)
        return;
    for (const CatalogMatch &match : preview->matches) {
        if (match.song.id == songID) {
            confirmSave(preview->track, match);
            return;
        }
    }
}

void SaveWorkflow::onLogForLater()
{
    if (const SheetState::Preview *preview = undecidedPreview())
        logForLater(preview->track);
}

void SaveWorkflow::onCancel()
{
    if (undecidedPreview())
        cancelSheet();
}

QCoro::Task<> SaveWorkflow::appendIgnoringErrors(CaptureRecord record)
{
    try {
        co_await m_store->append(std::move(record));
    } catch (const Error &error) {
        // The outcome is shown as if the record had been stored; the file keeps what it held.
        qCCritical(musicLogger).noquote() << "History write failed:" << error.localizedDescription();
    }
}

void SaveWorkflow::showFor(SheetState state, double seconds)
{
    setSheet(std::move(state));
    m_holdTimer.start(std::chrono::milliseconds(qRound64(seconds * m_holdUnit.count())));
}

void SaveWorkflow::setSheet(std::optional<SheetState> sheet)
{
    if (!m_sheet && !sheet)
        return;
    m_sheet = std::move(sheet);
    Q_EMIT sheetChanged();
}

void SaveWorkflow::setSelectedSongID(QString songID)
{
    if (songID == m_selectedSongID)
        return;
    m_selectedSongID = std::move(songID);
    Q_EMIT selectionChanged();
}

const SheetState::Preview *SaveWorkflow::undecidedPreview() const
{
    if (!m_sheet || m_decisionPending)
        return nullptr;
    return std::get_if<SheetState::Preview>(&m_sheet->value());
}

} // namespace airnote
