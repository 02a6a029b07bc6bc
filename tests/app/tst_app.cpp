// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "app/AirnoteApp.h"
#include "app/HistoryFilter.h"
#include "app/StationChoice.h"
#include "app/CommandLine.h"
#include "app/MediaSession.h"
#include "app/Translations.h"
#include "music/AppleMusicService.h"
#include "platform/MediaControls.h"
#include "playback/StationPlayer.h"
#include "station/FIPMetadataService.h"
#include "fakes/FakeAppleMusic.h"
#include "fakes/LoopbackHttpServer.h"
#include "support/LogCapture.h"
#include "support/PrivateSessionBus.h"
#include "support/TestServices.h"
#include "support/WaitFor.h"

#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace airnote;
using namespace airnote::fakes;
using namespace Qt::StringLiterals;
using Endpoint = FakeAppleMusic::Endpoint;

namespace {

const QString failure = u"API Apple Music erreur 500 : upstream down"_s;

QByteArray stationDocument(const QString &title, const QString &artist, bool music = true)
{
    QJsonObject now{{u"firstLine"_s, title}, {u"secondLine"_s, artist}, {u"startTime"_s, 1795000000}};
    if (music)
        now.insert(u"songUuid"_s, u"5e0c2c1a"_s);
    return QJsonDocument(QJsonObject{{u"now"_s, now}}).toJson();
}

CaptureRecord pastRecord(const QString &artist, const QString &title, CaptureRecord::Status status, int secondsAgo = 60)
{
    const bool saved = status == CaptureRecord::Status::saved;
    return CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc().addSecs(-secondsAgo), artist, title, std::nullopt,
                         saved ? std::optional(u"1712000001"_s) : std::nullopt,
                         saved ? std::optional(0.9) : std::nullopt, status, std::nullopt);
}

} // namespace

// The save workflow and the panel model driven through the real services,
// against the loopback fakes of the station and of Apple Music, with a real
// history file.
class AppTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_home;
    QNetworkAccessManager m_network;
    LoopbackHttpServer m_station;
    QByteArray m_document;
    std::unique_ptr<FakeAppleMusic> m_music;
    std::unique_ptr<AirnoteApp> m_app;
    QStringList m_faces;  // every face key the panel was shown, in order

    void startApp(const QByteArray &document, bool waitForTrack = true)
    {
        m_document = document;
        m_app = std::make_unique<AirnoteApp>(testing::servicesFor(&m_network, m_station.url(u"/live"_s),
            m_home.path(), m_music.get()));
        m_app->workflow()->setHoldUnit(std::chrono::milliseconds(2));
        m_faces.clear();
        connect(m_app->panel(), &PanelModel::faceChanged, this, [this] { m_faces.append(m_app->panel()->faceKey()); });
        QSignalSpy polled(m_app->fip(), waitForTrack ? &FIPMetadataService::currentChanged
                                                     : &FIPMetadataService::consecutiveFailuresChanged);
        m_app->panel()->onPanelAppear();
        QVERIFY(polled.wait());
    }

    // Through the app's own store, which runs one operation at a time: every
    // append the flow started has landed before this read.
    QList<CaptureRecord> history() { return testing::waitFor(m_app->store()->loadAll()); }

    void seedHistory(const QList<CaptureRecord> &records)
    {
        CaptureStore store(m_home.path());
        for (const CaptureRecord &record : records)
            testing::waitFor(store.append(record));
    }

    void showHistory()
    {
        QSignalSpy loaded(m_app->history(), &HistoryModel::loaded);
        m_app->panel()->onShowHistory();
        // The store may answer before the call returns.
        QTRY_COMPARE(loaded.size(), 1);
    }

    QVariant historyData(int row, HistoryModel::Role role) { return m_app->history()->index(row).data(role); }

    void waitForPreview() { QTRY_COMPARE(m_app->panel()->face(), PanelModel::Preview); }

    // The flow has ended once the panel is back on the track on air.
    void waitForNowPlaying()
    {
        QTRY_VERIFY(!m_faces.isEmpty() && m_faces.last() == u"nowPlaying"_s);
        QCOMPARE(m_app->panel()->face(), PanelModel::NowPlaying);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        m_network.setTransferTimeout(5000);
        m_station.setHandler([this](const HttpRequest &) { return HttpReply::json(200, m_document); });
        QVERIFY(m_station.listen());
    }

    void init()
    {
        QVERIFY(m_home.isValid());
        QFile::remove(m_home.filePath(u"captures.json"_s));
        QFile::remove(m_home.filePath(u"Airnote.conf"_s));
        m_music = std::make_unique<FakeAppleMusic>(QJsonArray{
            FakeAppleMusic::songResource(u"1712000001"_s, u"Harbour Lights (Remastered)"_s, u"Mira and Sol"_s, u"Tides"_s),
            FakeAppleMusic::songResource(u"1712000042"_s, u"Harbour Lights"_s, u"Other Band"_s)});
        QVERIFY(m_music->listen());
        qputenv("AIRNOTE_MUSIC_USER_TOKEN", m_music->musicUserToken().toUtf8());
    }

    void cleanup()
    {
        m_app.reset();
        m_music.reset();
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
    }

    void savesTheConfirmedCandidateOnce()
    {
        testing::LogCapture log;
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        m_app->workflow()->onSave();
        waitForPreview();
        QCOMPARE(m_faces.first(), u"searching-Harbour Lights-Mira & Sol"_s);
        const auto &preview = std::get<SheetState::Preview>(m_app->workflow()->sheet()->value());
        QCOMPARE(preview.matches.size(), 2);
        const CatalogMatch chosen = preview.matches.first();

        m_app->workflow()->onConfirm(chosen.song.id);
        m_app->workflow()->onConfirm(chosen.song.id);  // a second Return must not save twice
        waitForNowPlaying();
        QCOMPARE(m_faces.mid(2), (QStringList{u"saving-Harbour Lights-1712000001"_s,
                                              u"success-Harbour Lights (Remastered)-Mira and Sol"_s, u"nowPlaying"_s}));
        QCOMPARE(m_music->library(), QStringList{u"1712000001"_s});
        QCOMPARE(m_music->requestsTo(Endpoint::libraryAddition).size(), 1);

        // One record; only its id and time are the store's to choose.
        const QList<CaptureRecord> records = history();
        QCOMPARE(records, QList{CaptureRecord(records.value(0).id(), records.value(0).timestamp(), u"Mira & Sol"_s,
                                              u"Harbour Lights"_s, std::nullopt, u"1712000001"_s, chosen.confidence,
                                              CaptureRecord::Status::saved, std::nullopt)});

        // The same track again within five minutes: refused without a search.
        m_faces.clear();
        m_app->workflow()->onSave();
        waitForNowPlaying();
        QCOMPARE(m_faces, (QStringList{u"already-Harbour Lights-Mira & Sol"_s, u"nowPlaying"_s}));
        QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 1);
        QCOMPARE(history().size(), 1);
        QVERIFY(log.messagesOf("com.velmorin.Airnote.music").contains(u"Duplicate save blocked: Harbour Lights"_s));
    }

    // What each ending of a flow shows, logs and records: only a confirmed
    // addition, failed here, and a track noted for later leave a record.
    void recordsWhatTheFlowEndsWith_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("artist");
        QTest::addColumn<int>("failing");  // the endpoint answering 500, -1 for none
        QTest::addColumn<QString>("decision");  // in the preview
        QTest::addColumn<QString>("shown");  // a face key on the way
        QTest::addColumn<QString>("recorded");  // the record's status, empty for none
        QTest::addColumn<QString>("logged");
        QTest::addColumn<QString>("station");  // its key, followed before the save; FIP when empty
        QTest::newRow("search fails") << u"Harbour Lights"_s << u"Mira & Sol"_s << int(Endpoint::catalogSearch) << QString()
                                      << u"failure-"_s + failure << QString() << u"Search failed: "_s + failure << QString();
        QTest::newRow("addition fails") << u"Harbour Lights"_s << u"Mira & Sol"_s << int(Endpoint::libraryAddition) << u"confirm"_s
                                        << u"failure-"_s + failure << u"save_failed"_s
                                        << u"Save failed: "_s + failure << u"fip"_s;
        QTest::newRow("logged for later, on a webradio") << u"Unknown Song"_s << u"Nobody"_s << -1 << u"log"_s
                                                         << u"already-Unknown Song-Nobody"_s << u"no_match"_s
                                                         << QString() << u"fipjazz"_s;
    }

    void recordsWhatTheFlowEndsWith()
    {
        QFETCH(QString, title);
        QFETCH(QString, artist);
        QFETCH(int, failing);
        QFETCH(QString, decision);
        QFETCH(QString, shown);
        QFETCH(QString, recorded);
        QFETCH(QString, logged);
        QFETCH(QString, station);
        testing::LogCapture log;
        startApp(stationDocument(title, artist));
        if (!station.isEmpty()) {
            m_app->stations()->choose(station);
            QTRY_VERIFY(m_app->fip()->hasCurrent());
        }
        if (failing >= 0)
            m_music->replyNext(Endpoint(failing), HttpReply::text(500, "upstream down"));

        m_app->workflow()->onSave();
        if (!decision.isEmpty()) {
            waitForPreview();
            if (decision == "confirm"_L1)
                m_app->workflow()->onConfirm(u"1712000001"_s);
            else  // log: a second click while the note is written must not write it twice.
                for (int click = 0; click < 2; ++click)
                    m_app->workflow()->onLogForLater();
        }
        waitForNowPlaying();
        QVERIFY2(m_faces.contains(shown), qPrintable(m_faces.join(u" / ")));
        if (!logged.isEmpty())
            QVERIFY(log.messagesOf("com.velmorin.Airnote.music").contains(logged));

        const QList<CaptureRecord> records = history();
        QCOMPARE(records.size(), recorded.isEmpty() ? 0 : 1);
        if (recorded.isEmpty())
            return;
        const bool matched = failing >= 0;
        QCOMPARE(records[0].statusText(), recorded);
        QCOMPARE(records[0].errorMessage(), matched ? std::optional(failure) : std::nullopt);
        QCOMPARE(records[0].appleSongID(), matched ? std::optional(u"1712000001"_s) : std::nullopt);
        QCOMPARE(records[0].confidence().has_value(), matched);
        // Records heard on FIP itself keep the form they always had.
        QCOMPARE(records[0].station(), station == "fipjazz"_L1 ? std::optional(u"FIP Jazz"_s) : std::nullopt);
    }

    // The choice survives a restart; a key not in the table (Airnote.conf
    // edited by hand, the command line) leaves FIP, and says so.
    void remembersTheStation_data()
    {
        QTest::addColumn<QString>("remembered");
        QTest::addColumn<QString>("followed");
        QTest::newRow("nothing yet") << QString() << u"FIP"_s;
        QTest::newRow("a webradio") << u"fipjazz"_s << u"FIP Jazz"_s;
        QTest::newRow("unknown") << u"fipjaz"_s << u"FIP"_s;
    }

    void remembersTheStation()
    {
        QFETCH(QString, remembered);
        QFETCH(QString, followed);
        const QString file = m_home.filePath(u"Airnote.conf"_s);
        if (!remembered.isEmpty())
            QSettings(file, QSettings::IniFormat).setValue(u"station"_s, remembered);
        if (followed == "FIP"_L1 && !remembered.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Unknown station \"fipjaz\" \\(known: fip, fiprock, .*\\); following FIP$"_s));
        FIPMetadataService poller(&m_network, nullptr, m_station.url(u"/livemeta/live/7/webrf_fip_player"_s));
        auto choice = std::make_unique<StationChoice>(&poller, file);
        QCOMPARE(choice->name(), followed);
        QCOMPARE(poller.station().name, followed);

        QVERIFY(choice->choose(u"fiprock"_s));
        choice = std::make_unique<StationChoice>(&poller, file);
        QCOMPARE(choice->name(), u"FIP Rock"_s);
    }

    // The desktop's media controls show the track on air as it changes and
    // drive the player, which follows the chosen station's stream.
    void mediaControlsFollowTheStationAndDriveThePlayer()
    {
        const testing::PrivateSessionBus bus;
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        MediaControls controls;
        const MediaSession session(&controls, m_app->player(), m_app->fip());
        QVERIFY(controls.publish(bus.app()));
        const auto read = [&bus](const QString &property) {
            const QDBusMessage reply = bus.callMpris(u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                {u"org.mpris.MediaPlayer2.Player"_s, property});
            return testing::PrivateSessionBus::plain(reply.arguments().value(0));
        };
        QCOMPARE(read(u"Metadata"_s).toMap().value(u"xesam:title"_s), u"Harbour Lights"_s);
        QCOMPARE(read(u"PlaybackStatus"_s), u"Paused"_s);

        m_document = stationDocument(u"Nardis"_s, u"Bill Evans"_s);
        m_app->fip()->cutWaitShort();
        QTRY_COMPARE(read(u"Metadata"_s).toMap().value(u"xesam:artist"_s), QStringList{u"Bill Evans"_s});

        bus.callMpris(u"org.mpris.MediaPlayer2.Player"_s, u"Play"_s);
        QTRY_VERIFY(m_app->player()->state() != StationPlayer::Stopped);
        // Here, without a sound server, there is nothing to play on; elsewhere it tries.
        const bool unavailable = m_app->player()->state() == StationPlayer::Unavailable;
        QCOMPARE(read(u"PlaybackStatus"_s), unavailable ? u"Stopped"_s : u"Playing"_s);
        QCOMPARE(read(u"CanPlay"_s), !unavailable);

        bus.callMpris(u"org.freedesktop.DBus.Properties"_s, u"Set"_s,
                      {u"org.mpris.MediaPlayer2.Player"_s, u"Volume"_s, QVariant::fromValue(QDBusVariant(0.25))});
        QCOMPARE(m_app->player()->volume(), 0.25);
        QCOMPARE(read(u"Volume"_s), 0.25);

        QVERIFY(m_app->stations()->choose(u"fipjazz"_s));
        QCOMPARE(m_app->player()->stream().path(), u"/fipjazz-hifi.aac"_s);
    }

    // A history that cannot be read or written is logged and left as it is;
    // the save goes on, its outcome shown as if the record had been kept.
    void unusableHistoryIsLoggedAndLeftAlone()
    {
        testing::LogCapture log;
        QVERIFY(QDir(m_home.path()).mkdir(u"captures.json"_s));  // a folder where the file goes
        const auto removeFolder = qScopeGuard([this] { QDir(m_home.path()).rmdir(u"captures.json"_s); });
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        m_app->workflow()->onSave();
        waitForPreview();
        m_app->workflow()->onConfirm(u"1712000001"_s);
        waitForNowPlaying();
        QVERIFY(m_faces.contains(u"success-Harbour Lights (Remastered)-Mira and Sol"_s));
        const QStringList lines = log.messagesOf("com.velmorin.Airnote.music");
        for (const QString &start : {u"History read failed, no duplicate check: "_s, u"History write failed: "_s})
            QCOMPARE(std::count_if(lines.cbegin(), lines.cend(), [&](const QString &line) { return line.startsWith(start); }), 1);
        QVERIFY(QFileInfo(m_home.filePath(u"captures.json"_s)).isDir());
    }

    void ignoresSaveWithoutAMusicTrackOrTwice()
    {
        startApp(stationDocument(u"Le direct"_s, u"FIP"_s, false));
        m_app->workflow()->onSave();
        QCOMPARE(m_app->panel()->face(), PanelModel::NowPlaying);

        m_document = stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s);
        QSignalSpy polled(m_app->fip(), &FIPMetadataService::currentChanged);
        m_app->fip()->cutWaitShort();
        QVERIFY(polled.wait());
        m_app->workflow()->onSave();
        m_app->workflow()->onSave();
        waitForPreview();
        QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 1);
        m_app->workflow()->onCancel();
        QCOMPARE(m_faces.count(u"nowPlaying"_s), 1);
        QVERIFY(history().isEmpty());
    }

    // A desktop shortcut pressed before the first track: its flow starts when a
    // track arrives, unless that is after the wait, hours later perhaps.
    void savesWhenTheFirstTrackArrives_data()
    {
        QTest::addColumn<int>("holdUnit");
        QTest::addColumn<bool>("saved");
        QTest::newRow("in time") << 1000 << true;
        QTest::newRow("too late") << 1 << false;
    }

    void savesWhenTheFirstTrackArrives()
    {
        QFETCH(int, holdUnit);
        QFETCH(bool, saved);
        testing::LogCapture log;
        startApp("{}", false);
        m_app->workflow()->setHoldUnit(std::chrono::milliseconds(holdUnit));
        m_app->workflow()->saveOnceTrackArrives();
        if (!saved)
            QTRY_VERIFY(log.messagesOf("com.velmorin.Airnote.music").contains(u"Save request dropped: no track arrived in time"_s));

        m_document = stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s);
        QSignalSpy polled(m_app->fip(), &FIPMetadataService::currentChanged);
        m_app->fip()->cutWaitShort();
        QVERIFY(polled.wait());
        QCOMPARE(m_app->workflow()->isBusy(), saved);
        if (saved)
            waitForPreview();
    }

    // The history covers the sheet; a row retried meanwhile shows the waiting
    // sheet instead of starting a flow. A new sheet of the same id changes no face.
    void historyFaceHasPriorityOverTheSheet()
    {
        seedHistory({pastRecord(u"Mira & Sol"_s, u"Autre chose"_s, CaptureRecord::Status::noMatch)});
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        PanelModel *panel = m_app->panel();
        showHistory();
        m_app->workflow()->onSave();
        QTRY_VERIFY(m_app->workflow()->sheet() && m_app->workflow()->sheet()->isPreview());
        QCOMPARE(m_faces, QStringList{u"history"_s});
        panel->onRetry(historyData(0, HistoryModel::IdRole).toString());
        QCOMPARE(panel->face(), PanelModel::Preview);
        QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 1);

        QSignalSpy faces(panel, &PanelModel::faceChanged);
        m_app->workflow()->onCancel();
        QCOMPARE(panel->face(), PanelModel::NowPlaying);
        QCOMPARE(faces.size(), 1);
    }

    // A note for later or a failed save is tried again under the row's own
    // names, not the track on air, behind the same duplicate guard.
    void retriesARowOfTheHistory_data()
    {
        QTest::addColumn<int>("savedSecondsAgo");  // a save of the same song, -1 for none
        QTest::addColumn<bool>("refused");
        QTest::newRow("never saved") << -1 << false;
        QTest::newRow("saved 290 s ago") << 290 << true;
        QTest::newRow("saved 310 s ago") << 310 << false;
    }

    void retriesARowOfTheHistory()
    {
        QFETCH(int, savedSecondsAgo);
        QFETCH(bool, refused);
        QList<CaptureRecord> seeded{pastRecord(u"Mira & Sol"_s, u"Harbour Lights"_s, CaptureRecord::Status::noMatch)};
        if (savedSecondsAgo >= 0)
            seeded.prepend(pastRecord(u"MIRA & SOL"_s, u"Harbour Lights (Live)"_s, CaptureRecord::Status::saved, savedSecondsAgo));
        seedHistory(seeded);
        m_music->setStorefront(u"ch"_s);
        startApp(stationDocument(u"Autre chose"_s, u"Quelqu'un"_s));
        showHistory();
        QCOMPARE(historyData(0, HistoryModel::StatusRole).toInt(), int(HistoryModel::NoMatch));
        m_faces.clear();
        m_app->panel()->onRetry(historyData(0, HistoryModel::IdRole).toString());

        if (refused) {
            waitForNowPlaying();
            QCOMPARE(m_faces.first(), u"already-Harbour Lights-Mira & Sol"_s);
            QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 0);
            QCOMPARE(history(), seeded);
            return;
        }
        waitForPreview();
        const QList<HttpRequest> searches = m_music->requestsTo(Endpoint::catalogSearch);
        QCOMPARE(searches.size(), 1);
        QCOMPARE(searches[0].query.queryItemValue(u"term"_s, QUrl::FullyEncoded), u"Mira+%26+Sol+Harbour+Lights"_s);
        m_app->workflow()->onConfirm(u"1712000001"_s);
        waitForNowPlaying();
        const QList<CaptureRecord> records = history();
        QCOMPARE(records.size(), seeded.size() + 1);
        QCOMPARE(records.mid(0, seeded.size()), seeded);
        QCOMPARE(records.last().statusText(), u"saved"_s);
        QCOMPARE(records.last().fipTitle(), u"Harbour Lights"_s);

        // The saved row links to the song in the storefront the search used.
        showHistory();
        QCOMPARE(historyData(0, HistoryModel::AppleMusicLinkRole).toUrl(), QUrl(u"https://music.apple.com/ch/song/1712000001"_s));
        QCOMPARE(historyData(1, HistoryModel::AppleMusicLinkRole).toUrl(), QUrl());
    }

    void filtersTheHistory_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("titles");
        QTest::newRow("artist without accents") << u"bjork"_s << -1 << QStringList{u"Jóga"_s};
        QTest::newRow("title in capitals") << u"JOGA"_s << -1 << QStringList{u"Jóga"_s};
        QTest::newRow("accent where the name has none") << u"Hârbour"_s << -1 << QStringList{u"Harbour Lights"_s};
        QTest::newRow("part of a name") << u"yonc"_s << -1 << QStringList{u"Crazy in Love"_s};
        QTest::newRow("outcome only") << QString() << int(HistoryModel::SaveFailed) << QStringList{u"Crazy in Love"_s};
        QTest::newRow("name and another outcome") << u"bjork"_s << int(HistoryModel::Saved) << QStringList{};
    }

    void filtersTheHistory()
    {
        QFETCH(QString, query);
        QFETCH(int, status);
        QFETCH(QStringList, titles);
        seedHistory({pastRecord(u"Mira & Sol"_s, u"Harbour Lights"_s, CaptureRecord::Status::saved),
                     pastRecord(u"BEYONCÉ"_s, u"Crazy in Love"_s, CaptureRecord::Status::saveFailed),
                     pastRecord(u"Björk"_s, u"Jóga"_s, CaptureRecord::Status::noMatch)});
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        showHistory();
        HistoryFilter *rows = m_app->panel()->historyRows();
        rows->setQuery(query);
        rows->setStatus(status);
        QStringList shown;
        for (int row = 0; row < rows->rowCount(); ++row)
            shown.append(rows->index(row, 0).data(HistoryModel::TitleRole).toString());
        QCOMPARE(shown, titles);
    }

    void parsesTheCommandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<LaunchOptions::Action>("action");
        QTest::addColumn<bool>("windowed");
        QTest::addColumn<QString>("station");
        QTest::addColumn<QString>("exportPath");
        QTest::newRow("nothing") << QStringList{} << LaunchOptions::Action::none << false << QString() << QString();
        QTest::newRow("save") << QStringList{u"--save"_s} << LaunchOptions::Action::save << false << QString() << QString();
        QTest::newRow("history windowed") << QStringList{u"--history"_s, u"--windowed"_s} << LaunchOptions::Action::history
                                          << true << QString() << QString();
        QTest::newRow("quit wins") << QStringList{u"--save"_s, u"--quit"_s} << LaunchOptions::Action::quit << false << QString() << QString();
        QTest::newRow("station, then save") << QStringList{u"--station"_s, u"fipjazz"_s, u"--save"_s}
                                            << LaunchOptions::Action::save << false << u"fipjazz"_s << QString();
        QTest::newRow("export, a relative path with blanks")
            << QStringList{u"--station"_s, u"fiprock"_s, u"--export-history"_s, u"mes captures%20é.csv"_s}
            << LaunchOptions::Action::exportHistory << false << u"fiprock"_s
            << QDir::current().absoluteFilePath(u"mes captures%20é.csv"_s);
    }

    void parsesTheCommandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(LaunchOptions::Action, action);
        QFETCH(bool, windowed);
        QFETCH(QString, station);
        QFETCH(QString, exportPath);
        const LaunchOptions options = parseCommandLine(QStringList{u"airnote"_s} + arguments);
        QCOMPARE(options.action, action);
        QCOMPARE(options.windowed, windowed);
        QCOMPARE(options.station, station);
        const LaunchOptions handedOver = fromHandoverMessage(handoverMessage(options));
        QCOMPARE(handedOver.action, action);
        QCOMPARE(handedOver.station, station);
        QCOMPARE(options.exportPath, exportPath);
        QCOMPARE(handedOver.exportPath, exportPath);
    }

    void choosesTheLanguage_data()
    {
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<Language>("language");
        QTest::newRow("LANGUAGE passes over a language without texts")
            << QStringList{u"LANGUAGE=de:fr"_s, u"LANG=de_DE.UTF-8"_s} << Language::french;
        QTest::newRow("LANGUAGE's first choice wins") << QStringList{u"LANGUAGE=en:fr"_s, u"LANG=fr_FR.UTF-8"_s} << Language::english;
        QTest::newRow("LANGUAGE set aside in the C locale") << QStringList{u"LANGUAGE=fr"_s, u"LC_ALL=C"_s} << Language::english;
        QTest::newRow("LANGUAGE set aside without a locale") << QStringList{u"LANGUAGE=fr"_s} << Language::english;
        QTest::newRow("LC_MESSAGES before LANG")
            << QStringList{u"LC_MESSAGES=fr_CA.UTF-8"_s, u"LANG=en_US.UTF-8"_s} << Language::french;
        QTest::newRow("LC_ALL before LC_MESSAGES")
            << QStringList{u"LC_ALL=en_GB.UTF-8"_s, u"LC_MESSAGES=fr_FR.UTF-8"_s} << Language::english;
        QTest::newRow("North Frisian is not French") << QStringList{u"LANG=frr_DE.UTF-8"_s} << Language::english;
        QTest::newRow("another language") << QStringList{u"LANG=pt_BR.UTF-8"_s} << Language::english;
        QTest::newRow("nothing set") << QStringList{} << Language::english;
    }

    void choosesTheLanguage()
    {
        QFETCH(QStringList, environment);
        QFETCH(Language, language);
        QProcessEnvironment variables;
        for (const QString &variable : environment)
            variables.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        QCOMPARE(chooseLanguage(variables), language);
    }
};

QTEST_GUILESS_MAIN(AppTest)
#include "tst_app.moc"
