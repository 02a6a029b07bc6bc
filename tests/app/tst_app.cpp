// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "app/AirnoteApp.h"
#include "app/CommandLine.h"
#include "support/TestServices.h"
#include "fakes/FakeAppleMusic.h"
#include "fakes/LoopbackHttpServer.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "station/FIPMetadataService.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
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

QStringList loggedMessages;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    loggedMessages.append(message);
}

QByteArray stationDocument(const QString &title, const QString &artist, bool music = true)
{
    QJsonObject now{{u"firstLine"_s, title}, {u"secondLine"_s, artist}, {u"startTime"_s, 1795000000}};
    if (music)
        now.insert(u"songUuid"_s, u"5e0c2c1a"_s);
    return QJsonDocument(QJsonObject{{u"now"_s, now}}).toJson();
}

FIPTrack track(const QString &title, const QString &artist)
{
    FIPTrack value;
    value.title = title;
    value.artist = artist;
    return value;
}

CatalogMatch match(const QString &id, double confidence = 0.9)
{
    CatalogMatch value;
    value.song.id = id;
    value.song.title = u"Song"_s;
    value.song.artistName = u"Artist"_s;
    value.confidence = confidence;
    return value;
}

} // namespace

// The save workflow driven through the real services, against the loopback
// fakes of the station and of Apple Music, with a real history file.
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
    QStringList m_faces;  // every sheet key the panel was shown, in order

    void startApp(const QByteArray &document)
    {
        m_document = document;
        m_app = std::make_unique<AirnoteApp>(testing::servicesFor(&m_network, m_station.url(u"/live"_s), m_home.path(), m_music.get()));
        m_app->setHoldUnit(std::chrono::milliseconds(2));
        m_faces.clear();
        connect(m_app.get(), &AirnoteApp::sheetChanged, this, [this] { m_faces.append(m_app->sheetKey()); });
        QSignalSpy polled(m_app->fip(), &FIPMetadataService::currentChanged);
        m_app->onPanelAppear();
        QVERIFY(polled.wait());
    }

    QList<CaptureRecord> history()
    {
        CaptureStore reader(m_home.path());
        std::optional<QList<CaptureRecord>> records;
        auto read = [](CaptureStore &store, std::optional<QList<CaptureRecord>> &out) -> QCoro::Task<> {
            out = co_await store.loadAll();
        };
        read(reader, records);
        if (!QTest::qWaitFor([&records] { return records.has_value(); }))
            QTest::qFail("the history was not read in time", __FILE__, __LINE__);
        return records.value_or(QList<CaptureRecord>{});
    }

    // The flow has ended once the panel went back to no sheet.
    void waitForNowPlaying()
    {
        QTRY_VERIFY(!m_faces.isEmpty() && m_faces.last() == u"nil"_s);
        QCOMPARE(m_app->face(), u"nowPlaying"_s);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qInstallMessageHandler(recordMessage);
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
            FakeAppleMusic::songResource(u"1712000042"_s, u"Harbour Lights"_s, u"Other Band"_s),
        });
        QVERIFY(m_music->listen());
        qputenv("AIRNOTE_MUSIC_USER_TOKEN", m_music->musicUserToken().toUtf8());
        loggedMessages.clear();
    }

    void cleanup()
    {
        m_app.reset();
        m_music.reset();
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
    }

    void sheetStatesAreIdentifiedByTheirId_data()
    {
        QTest::addColumn<SheetState>("state");
        QTest::addColumn<QString>("id");
        const FIPTrack onAir = track(u"Title"_s, u"Artist"_s);
        QTest::newRow("searching") << SheetState(SheetState::Searching{onAir}) << u"searching-Title-Artist"_s;
        QTest::newRow("preview") << SheetState(SheetState::Preview{onAir, {match(u"9"_s)}}) << u"preview-Title-Artist"_s;
        QTest::newRow("saving") << SheetState(SheetState::Saving{onAir, match(u"42"_s)}) << u"saving-Title-42"_s;
        QTest::newRow("success") << SheetState(SheetState::Success{u"Artist"_s, u"Title"_s}) << u"success-Title-Artist"_s;
        QTest::newRow("already") << SheetState(SheetState::AlreadySaved{u"A"_s, u"T"_s}) << u"already-T-A"_s;
        QTest::newRow("failure") << SheetState(SheetState::Failure{u"boom"_s}) << u"failure-boom"_s;
    }

    void sheetStatesAreIdentifiedByTheirId()
    {
        QFETCH(SheetState, state);
        QFETCH(QString, id);
        QCOMPARE(state.id(), id);
        const FIPTrack onAir = track(u"Title"_s, u"Artist"_s);
        const SheetState otherMatches = SheetState::Preview{onAir, {match(u"1"_s), match(u"2"_s)}};
        QCOMPARE(state == otherMatches, id == u"preview-Title-Artist"_s);
    }

    void savesTheConfirmedCandidateOnce()
    {
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        m_app->onSave();
        QTRY_COMPARE(m_app->face(), u"sheet"_s);
        QTRY_COMPARE(m_app->sheet()->face(), u"preview"_s);
        QCOMPARE(m_faces.first(), u"searching-Harbour Lights-Mira & Sol"_s);
        const QVariantList matches = m_app->sheet()->matchList();
        QCOMPARE(matches.size(), 2);
        const CatalogMatch chosen = std::get<SheetState::Preview>(m_app->sheet()->value()).matches.first();

        m_app->onConfirm(chosen.song.id);
        m_app->onConfirm(chosen.song.id);  // a second Return must not save twice
        waitForNowPlaying();
        QCOMPARE(m_faces.mid(2), (QStringList{u"saving-Harbour Lights-1712000001"_s,
                                              u"success-Harbour Lights (Remastered)-Mira and Sol"_s, u"nil"_s}));
        QCOMPARE(m_music->library(), QStringList{u"1712000001"_s});
        QCOMPARE(m_music->requestsTo(Endpoint::libraryAddition).size(), 1);

        const QList<CaptureRecord> records = history();
        QCOMPARE(records.size(), 1);
        QCOMPARE(records[0].status(), CaptureRecord::Status::saved);
        QCOMPARE(records[0].appleSongID(), std::optional(u"1712000001"_s));
        QCOMPARE(records[0].confidence(), std::optional(chosen.confidence));
        QCOMPARE(records[0].fipTitle(), u"Harbour Lights"_s);
        QCOMPARE(records[0].errorMessage(), std::nullopt);

        // The same track again within five minutes: refused without a search.
        m_faces.clear();
        m_app->onSave();
        waitForNowPlaying();
        QCOMPARE(m_faces, (QStringList{u"already-Harbour Lights-Mira & Sol"_s, u"nil"_s}));
        QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 1);
        QCOMPARE(history().size(), 1);
        QVERIFY(loggedMessages.contains(u"Duplicate save blocked: Harbour Lights"_s));
    }

    void showsFailuresAndRecordsOnlyFailedAdditions_data()
    {
        QTest::addColumn<Endpoint>("failing");
        QTest::addColumn<bool>("recorded");
        QTest::addColumn<QString>("logPrefix");
        QTest::newRow("search") << Endpoint::catalogSearch << false << u"Search failed: "_s;
        QTest::newRow("library addition") << Endpoint::libraryAddition << true << u"Save failed: "_s;
    }

    void showsFailuresAndRecordsOnlyFailedAdditions()
    {
        QFETCH(Endpoint, failing);
        QFETCH(bool, recorded);
        QFETCH(QString, logPrefix);
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        m_music->replyNext(failing, HttpReply::text(500, "upstream down"));
        const QString message = u"API Apple Music erreur 500 : upstream down"_s;

        m_app->onSave();
        if (recorded) {
            QTRY_COMPARE(m_app->sheet() && m_app->sheet()->face() == u"preview"_s, true);
            m_app->onConfirm(u"1712000001"_s);
        }
        waitForNowPlaying();
        QVERIFY(m_faces.contains(u"failure-"_s + message));
        QCOMPARE(m_faces.last(), u"nil"_s);
        QVERIFY(loggedMessages.contains(logPrefix + message));

        const QList<CaptureRecord> records = history();
        QCOMPARE(records.size(), recorded ? 1 : 0);
        if (recorded) {
            QCOMPARE(records[0].status(), CaptureRecord::Status::saveFailed);
            QCOMPARE(records[0].errorMessage(), std::optional(message));
            QCOMPARE(records[0].appleSongID(), std::optional(u"1712000001"_s));
        }
    }

    void logsForLaterOrCancelsAnEmptyPreview_data()
    {
        QTest::addColumn<bool>("logForLater");
        QTest::newRow("log for later") << true;
        QTest::newRow("cancel") << false;
    }

    void logsForLaterOrCancelsAnEmptyPreview()
    {
        QFETCH(bool, logForLater);
        startApp(stationDocument(u"Unknown Song"_s, u"Nobody"_s));
        m_app->onSave();
        QTRY_COMPARE(m_app->sheet() && m_app->sheet()->face() == u"preview"_s, true);
        QVERIFY(m_app->sheet()->matchList().isEmpty());

        if (logForLater)
            m_app->onLogForLater();
        else
            m_app->onCancel();
        waitForNowPlaying();
        const QList<CaptureRecord> records = history();
        if (!logForLater) {
            QCOMPARE(m_faces.last(), u"nil"_s);
            QVERIFY(records.isEmpty());
            return;
        }
        QVERIFY(m_faces.contains(u"already-Unknown Song-Nobody"_s));
        QCOMPARE(records.size(), 1);
        QCOMPARE(records[0].status(), CaptureRecord::Status::noMatch);
        QCOMPARE(records[0].appleSongID(), std::nullopt);
        QCOMPARE(records[0].confidence(), std::nullopt);
    }

    void ignoresSaveWithoutAMusicTrackOrTwice()
    {
        startApp(stationDocument(u"Le direct"_s, u"FIP"_s, false));
        m_app->onSave();
        QCOMPARE(m_app->face(), u"nowPlaying"_s);

        m_document = stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s);
        QSignalSpy polled(m_app->fip(), &FIPMetadataService::currentChanged);
        m_app->fip()->cutWaitShort();
        QVERIFY(polled.wait());
        m_app->onSave();
        m_app->onSave();
        QTRY_COMPARE(m_app->sheet() && m_app->sheet()->face() == u"preview"_s, true);
        QCOMPARE(m_music->requestsTo(Endpoint::catalogSearch).size(), 1);
        m_app->onCancel();
        QCOMPARE(m_faces.count(u"nil"_s), 1);
        QVERIFY(history().isEmpty());
    }

    void historyFaceHasPriorityOverTheSheet()
    {
        startApp(stationDocument(u"Harbour Lights"_s, u"Mira & Sol"_s));
        QSignalSpy faces(m_app.get(), &AirnoteApp::faceChanged);
        m_app->onShowHistory();
        m_app->onSave();
        QTRY_VERIFY(m_app->sheet() && m_app->sheet()->face() == u"preview"_s);
        QCOMPARE(m_app->face(), u"history"_s);
        QCOMPARE(faces.count(), 1);
        m_app->onCloseHistory();
        QCOMPARE(m_app->face(), u"sheet"_s);
        m_app->onCancel();
        QCOMPARE(m_app->face(), u"nowPlaying"_s);
    }

    void parsesTheCommandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<LaunchOptions::Action>("action");
        QTest::addColumn<bool>("windowed");
        QTest::newRow("nothing") << QStringList{} << LaunchOptions::Action::none << false;
        QTest::newRow("save") << QStringList{u"--save"_s} << LaunchOptions::Action::save << false;
        QTest::newRow("history windowed") << QStringList{u"--history"_s, u"--windowed"_s} << LaunchOptions::Action::history << true;
        QTest::newRow("quit wins") << QStringList{u"--save"_s, u"--quit"_s} << LaunchOptions::Action::quit << false;
    }

    void parsesTheCommandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(LaunchOptions::Action, action);
        QFETCH(bool, windowed);
        const LaunchOptions options = parseCommandLine(QStringList{u"airnote"_s} + arguments);
        QCOMPARE(options.action, action);
        QCOMPARE(options.windowed, windowed);
        QCOMPARE(actionFromName(actionName(action)), action);
    }
};

QTEST_GUILESS_MAIN(AppTest)
#include "tst_app.moc"
