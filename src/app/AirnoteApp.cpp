// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AirnoteApp.h"

#include "app/UpdateChecker.h"
#include "history/CaptureRecord.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"
#include "core/Error.h"
#include "core/Logging.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "station/FIPMetadataService.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QUuid>

namespace airnote {

namespace {

constexpr double duplicateWindowSeconds = 300.0;
constexpr double duplicateHoldSeconds = 1.8;
constexpr double successHoldSeconds = 1.8;
constexpr double searchFailureHoldSeconds = 3.0;
constexpr double saveFailureHoldSeconds = 3.5;

CaptureRecord newRecord(const FIPTrack &track, CaptureRecord::Status status,
                        const CatalogMatch *chosen = nullptr, std::optional<QString> errorMessage = std::nullopt)
{
    return CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc(), track.artist, track.title, track.album,
                         chosen ? std::optional(chosen->song.id) : std::nullopt,
                         chosen ? std::optional(chosen->confidence) : std::nullopt, status, std::move(errorMessage));
}

} // namespace

AirnoteApp::Services AirnoteApp::defaultServices(QNetworkAccessManager *session, WakeSource *wakeSource)
{
    Services services;
    auto *userTokens = new MusicUserTokenProvider();
    services.authorization = new MusicAuthorization(userTokens);
    userTokens->setParent(services.authorization);
    services.music = new AppleMusicService(session, services.authorization, userTokens);
    // A plain pointer: the service lives as long as the authorization it feeds.
    AppleMusicService *music = services.music;
    services.authorization->setDeveloperTokenSource([music] { return music->developerToken(); });
    services.fip = new FIPMetadataService(session, wakeSource);
    services.store = std::make_unique<CaptureStore>();
    services.updater = new UpdateChecker(session);
    return services;
}

AirnoteApp::AirnoteApp(Services services, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
{
    for (QObject *service : std::initializer_list<QObject *>{m_services.fip, m_services.music,
                                                            m_services.authorization, m_services.updater}) {
        if (!service->parent())
            service->setParent(this);
    }
    m_face = face();
    connect(this, &AirnoteApp::sheetChanged, this, [this] {
        if (face() != m_face) {
            m_face = face();
            Q_EMIT faceChanged();
        }
    });
    connect(this, &AirnoteApp::showHistoryChanged, this, [this] {
        if (face() != m_face) {
            m_face = face();
            Q_EMIT faceChanged();
        }
    });
    // A timer rather than a suspended coroutine, so quitting during a hold leaves nothing behind.
    m_holdTimer.setSingleShot(true);
    connect(&m_holdTimer, &QTimer::timeout, this, [this] { setSheet(std::nullopt); });
    connect(m_services.updater, &UpdateChecker::resultReady, this, &AirnoteApp::updateCheckFinished);
    m_services.updater->start();
}

AirnoteApp::~AirnoteApp() = default;

FIPMetadataService *AirnoteApp::fip() const
{
    return m_services.fip;
}

AppleMusicService *AirnoteApp::music() const
{
    return m_services.music;
}

UpdateChecker *AirnoteApp::updater() const
{
    return m_services.updater;
}

MusicAuthorization *AirnoteApp::authorization() const
{
    return m_services.authorization;
}

CaptureStore *AirnoteApp::store() const
{
    return m_services.store.get();
}

const std::optional<SheetState> &AirnoteApp::sheet() const
{
    return m_sheet;
}

bool AirnoteApp::hasSheet() const
{
    return m_sheet.has_value();
}

SheetState AirnoteApp::sheetForDisplay() const
{
    return m_sheet.value_or(SheetState());
}

QString AirnoteApp::sheetKey() const
{
    return m_sheet ? m_sheet->id() : QStringLiteral("nil");
}

bool AirnoteApp::showHistory() const
{
    return m_showHistory;
}

QString AirnoteApp::face() const
{
    if (m_showHistory)
        return QStringLiteral("history");
    if (m_sheet)
        return QStringLiteral("sheet");
    return QStringLiteral("nowPlaying");
}

void AirnoteApp::setHoldUnit(std::chrono::milliseconds unit)
{
    m_holdUnit = unit;
}

void AirnoteApp::onPanelAppear()
{
    m_services.fip->start();
    requestAuthorization();
}

void AirnoteApp::onSave()
{
    saveCurrentTrack();
}

void AirnoteApp::onShowHistory()
{
    setShowHistory(true);
}

void AirnoteApp::onCloseHistory()
{
    setShowHistory(false);
}

void AirnoteApp::onCheckForUpdates()
{
    runCheckForUpdates();
}

void AirnoteApp::onConfirm(const QString &songID)
{
    const SheetState::Preview *preview = currentPreview();
    if (!preview)
        return;
    for (const CatalogMatch &match : preview->matches) {
        if (match.song.id == songID) {
            confirmSave(preview->track, match);
            return;
        }
    }
}

void AirnoteApp::onLogForLater()
{
    if (const SheetState::Preview *preview = currentPreview())
        logForLater(preview->track);
}

void AirnoteApp::onCancel()
{
    if (currentPreview())
        cancelSheet();
}

void AirnoteApp::loadHistory()
{
    runLoadHistory();
}

void AirnoteApp::quit()
{
    QCoreApplication::quit();
}

void AirnoteApp::saveCurrentTrack()
{
    // The button is only on the now-playing face, but a desktop shortcut or a
    // double press can ask again before the first state shows: one run at a time.
    if (m_sheet || m_saveStarting)
        return;
    runSave();
}

void AirnoteApp::saveOnceTrackArrives()
{
    if (m_services.fip->hasCurrent()) {
        saveCurrentTrack();
        return;
    }
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = connect(m_services.fip, &FIPMetadataService::currentChanged, this, [this, connection] {
        disconnect(*connection);
        saveCurrentTrack();
    });
}

void AirnoteApp::confirmSave(FIPTrack track, CatalogMatch match)
{
    runConfirm(std::move(track), std::move(match));
}

void AirnoteApp::logForLater(FIPTrack track)
{
    runLogForLater(std::move(track));
}

void AirnoteApp::cancelSheet()
{
    setSheet(std::nullopt);
}

QCoro::Task<> AirnoteApp::requestAuthorization()
{
    QPointer<AirnoteApp> self(this);
    const auto status = co_await m_services.authorization->request();
    if (self)
        m_services.music->setAuthStatus(status);
}

QCoro::Task<> AirnoteApp::runSave()
{
    const std::optional<FIPTrack> &current = m_services.fip->current();
    if (!current || !current->isMusicTrack)
        co_return;
    const FIPTrack track = *current;

    QPointer<AirnoteApp> self(this);
    m_saveStarting = true;
    std::optional<CaptureRecord> recent;
    try {
        // g++ 12 destroys temporaries of a co_await expression twice: name the task first.
        auto asking = m_services.store->recentSave(track.artist, track.title, duplicateWindowSeconds);
        recent = co_await asking;
    } catch (const Error &) {
        // An unreadable history must not stop a save: treat it as no recent save.
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
        auto searching = m_services.music->searchMatches(track.artist, track.title);
        matches = co_await searching;
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
    setSheet(SheetState::Preview{track, matches});
}

QCoro::Task<> AirnoteApp::runConfirm(FIPTrack track, CatalogMatch match)
{
    QPointer<AirnoteApp> self(this);
    setSheet(SheetState::Saving{track, match});
    std::optional<QString> failure;
    try {
        auto adding = m_services.music->addSong(match.song);
        co_await adding;
    } catch (const Error &error) {
        failure = error.localizedDescription();
    }
    if (!self)
        co_return;

    if (!failure) {
        auto appending = appendIgnoringErrors(newRecord(track, CaptureRecord::Status::saved, &match));
        co_await appending;
        if (!self)
            co_return;
        showFor(SheetState::Success{match.song.artistName, match.song.title}, successHoldSeconds);
        co_return;
    }
    auto appending = appendIgnoringErrors(newRecord(track, CaptureRecord::Status::saveFailed, &match, failure));
    co_await appending;
    if (!self)
        co_return;
    qCCritical(musicLogger).noquote() << "Save failed:" << *failure;
    showFor(SheetState::Failure{*failure}, saveFailureHoldSeconds);
}

QCoro::Task<> AirnoteApp::runLogForLater(FIPTrack track)
{
    QPointer<AirnoteApp> self(this);
    auto appending = appendIgnoringErrors(newRecord(track, CaptureRecord::Status::noMatch));
    co_await appending;
    if (!self)
        co_return;
    showFor(SheetState::AlreadySaved{track.artist, track.title}, duplicateHoldSeconds);
}

QCoro::Task<> AirnoteApp::runLoadHistory()
{
    QPointer<AirnoteApp> self(this);
    QVariantList newestFirst;
    try {
        const QList<CaptureRecord> records = co_await m_services.store->loadAll();
        newestFirst.reserve(records.size());
        for (auto it = records.crbegin(); it != records.crend(); ++it)
            newestFirst.append(QVariant::fromValue(*it));
    } catch (const Error &) {
        // An unreadable history shows as an empty one; the next showing reads the file again.
    }
    if (self)
        Q_EMIT historyLoaded(newestFirst);
}

QCoro::Task<> AirnoteApp::runCheckForUpdates()
{
    co_await m_services.updater->checkForUpdates();
}

QCoro::Task<> AirnoteApp::appendIgnoringErrors(CaptureRecord record)
{
    try {
        auto appending = m_services.store->append(std::move(record));
        co_await appending;
    } catch (const Error &) {
        // The outcome is shown as if the record had been stored.
    }
}

void AirnoteApp::showFor(SheetState state, double seconds)
{
    setSheet(std::move(state));
    m_holdTimer.start(std::chrono::milliseconds(qRound64(seconds * m_holdUnit.count())));
}

void AirnoteApp::setSheet(std::optional<SheetState> sheet)
{
    // Always announced, so a same-id state still refreshes its content; the
    // panel animates only when sheetKey changes.
    if (!m_sheet && !sheet)
        return;
    m_sheet = std::move(sheet);
    Q_EMIT sheetChanged();
}

void AirnoteApp::setShowHistory(bool show)
{
    if (m_showHistory == show)
        return;
    m_showHistory = show;
    Q_EMIT showHistoryChanged();
}

const SheetState::Preview *AirnoteApp::currentPreview() const
{
    return m_sheet ? std::get_if<SheetState::Preview>(&m_sheet->value()) : nullptr;
}

} // namespace airnote
