// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/Fixtures.h"
#include "support/LogCapture.h"
#include "support/MemoryKeychain.h"
#include "support/WaitFor.h"
#include "fakes/FakeAppleMusic.h"
#include "music/AppleMusicReplies.h"
#include "music/AppleMusicService.h"
#include "music/MatchScoring.h"
#include "music/ServiceError.h"
#include "platform/KeychainTokenStore.h"
#include "platform/MusicUserTokenProvider.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>

using namespace airnote;
using fakes::FakeAppleMusic;
using fakes::HttpReply;
using testing::fixture;
using Endpoint = FakeAppleMusic::Endpoint;
using Status = MusicAuthorization::Status;
using Script = QList<std::pair<Endpoint, HttpReply>>;
using namespace std::chrono_literals;

namespace {

const QByteArray musicCategory = "com.velmorin.Airnote.music";

// What the listener would read of the error the task ends with; empty when it succeeds.
template<typename T>
QString errorOf(QCoro::Task<T> task)
{
    try {
        testing::waitFor(std::move(task));
    } catch (const Error &error) {
        return error.localizedDescription();
    }
    return {};
}

QStringList idsOf(const QList<CatalogMatch> &matches)
{
    QStringList ids;
    for (const CatalogMatch &match : matches)
        ids.append(match.song.id);
    return ids;
}

Song song(const QString &id, const QString &title, const QString &artist)
{
    return Song{.id = id, .title = title, .artistName = artist, .albumTitle = {}, .artwork = {}};
}

const Song someSong = song(QStringLiteral("1712000001"), QStringLiteral("Harbour Lights"), QStringLiteral("Mira & Sol"));

} // namespace

class TestMusic : public QObject
{
    Q_OBJECT

    void makeService(std::unique_ptr<MusicUserTokenProvider::Store> keychain, const QUrl &tokenURL, std::chrono::milliseconds timeout = 60s)
    {
        m_userTokens = std::make_unique<MusicUserTokenProvider>(std::move(keychain));
        m_authorization = std::make_unique<MusicAuthorization>(m_userTokens.get(), MusicAuthorization::Configuration{.settingsFile = settingsFile()});
        m_service = std::make_unique<AppleMusicService>(
            &m_session, m_authorization.get(), m_userTokens.get(),
            AppleMusicService::Configuration{.tokenURL = tokenURL, .apiBase = m_fake->apiBase(), .settingsFile = settingsFile(),
                                             .clock = [this] { return m_now; }, .requestTimeout = timeout});
        m_service->setAuthStatus(Status::authorized);
    }
    QString settingsFile() const { return m_directory->filePath(QStringLiteral("Airnote.conf")); }

    QNetworkAccessManager m_session;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<FakeAppleMusic> m_fake;
    std::unique_ptr<MusicUserTokenProvider> m_userTokens;
    std::unique_ptr<MusicAuthorization> m_authorization;
    std::unique_ptr<AppleMusicService> m_service;
    std::optional<testing::LogCapture> m_log;
    QDateTime m_now = QDateTime(QDate(2026, 11, 22), QTime(10, 0), Qt::UTC);

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // No keychain service can answer, whatever the machine runs.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/airnote-test-bus");
    }

    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_fake = std::make_unique<FakeAppleMusic>();
        QVERIFY(m_fake->listen());
        qputenv("AIRNOTE_MUSIC_USER_TOKEN", m_fake->musicUserToken().toUtf8());
        makeService(std::make_unique<KeychainTokenStore>(2s), m_fake->tokenURL());
        m_log.emplace();
    }

    // Whatever a test did, no token reached the log.
    void cleanup()
    {
        const QStringList lines = m_log->lines();
        m_log.reset();
        for (const QString &line : lines)
            QVERIFY2(!line.contains(m_fake->developerToken()) && !line.contains(m_fake->musicUserToken()), qPrintable(line));
    }

    void jaroWinkler_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<double>("expected");
        QTest::newRow("swapped pair") << "ab" << "ba" << 0.0;
        QTest::newRow("martha") << "martha" << "marhta" << 0.961111;
        QTest::newRow("dixon") << "dixon" << "dicksonx" << 0.813333;
        QTest::newRow("canonically equal") << "caf\u00e9" << "cafe\u0301" << 1.0;
        QTest::newRow("combining mark is one character") << "e\u0301a" << "\u00e9b" << 0.7;
    }

    void jaroWinkler()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(double, expected);
        const double similarity = airnote::jaroWinkler(a, b);
        QVERIFY2(qAbs(similarity - expected) < 1e-6, qPrintable(QString::number(similarity, 'g', 10)));
    }

    void scoreMatches_data()
    {
        QTest::addColumn<QString>("artist");
        QTest::addColumn<QList<Song>>("catalog");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<double>("bestConfidence");
        QTest::newRow("identical after normalising")
            << "Mira & Sol" << QList<Song>{song("1", "Harbour Lights", "Mira and Sol"), song("2", "harbour lights (Live)", "MIRA  SOL")}
            << QStringList{"2", "1"} << 1.0;
        QTest::newRow("punctuation artist at exactly 0.5, below dropped")
            << "?!" << QList<Song>{song("1", "Harbour Lights", ""), song("2", "Harbour Lighty", "")} << QStringList{"1"} << 0.5;
        // Enough songs that an unstable sort would shuffle the ties.
        QList<Song> many;
        for (int index = 0; index < 40; ++index)
            many.append(song(QString::number(index), index % 2 ? "Harbour Lights" : "Harbour Light", "Mira & Sol"));
        QTest::newRow("at most five, ties in order") << "Mira & Sol" << many << QStringList{"1", "3", "5", "7", "9"} << 1.0;
    }

    void scoreMatches()
    {
        QFETCH(QString, artist);
        QFETCH(QList<Song>, catalog);
        QFETCH(QStringList, expected);
        QFETCH(double, bestConfidence);
        const QList<CatalogMatch> matches = airnote::scoreMatches(artist, "Harbour Lights", catalog);
        QCOMPARE(idsOf(matches), expected);
        QCOMPARE(matches.first().confidence, bestConfidence);
    }

    void searchMatches_data()
    {
        QTest::addColumn<bool>("signedIn");
        QTest::newRow("listener's storefront") << true;
        // The keychain cannot answer here.
        QTest::newRow("no listener, French storefront") << false;
    }

    void searchMatches()
    {
        QFETCH(bool, signedIn);
        if (!signedIn)
            qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        QJsonArray catalog = QJsonDocument::fromJson(fixture("catalog-search.json"))["results"]["songs"]["data"].toArray();
        for (int index = 1; index <= 12; ++index)
            catalog.append(FakeAppleMusic::songResource(QString::number(index), "Harbour Light", "Mira & Sol"));
        m_fake->setCatalog(catalog);
        m_fake->setStorefront("be");

        const QList<CatalogMatch> matches = testing::waitFor(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(idsOf(matches), (QStringList{"1712000001", "1712000042", "1", "2", "3"}));
        QCOMPARE(matches.first().song.artworkURL(200, 100), QUrl("https://is1-ssl.mzstatic.com/image/thumb/Music/aa/bb/cc/200x100bb.jpg"));
        QCOMPARE(m_log->messagesOf(musicCategory), (QStringList{"search term=Mira & Sol Harbour Lights", "fetching developer token from backend",
                                                                "search returned 14 songs", "returning 5 matches >= 0.5"}));
        const auto search = m_fake->requestsTo(Endpoint::catalogSearch).first();
        QCOMPARE(search.path, signedIn ? "/v1/catalog/be/search" : "/v1/catalog/fr/search");
        QCOMPARE(search.query.queryItemValue("term", QUrl::FullyEncoded), "Mira+%26+Sol+Harbour+Lights");
        // The listener's storefront is fetched once.
        testing::waitFor(m_service->searchMatches("Mira & Sol", "Harbour Lights"));
        QCOMPARE(m_fake->requestsTo(Endpoint::storefront).size(), signedIn ? 1 : 0);
    }

    void notAuthorizedSendsNothing_data()
    {
        QTest::addColumn<Status>("status");
        for (const Status status : {Status::notDetermined, Status::denied, Status::restricted})
            QTest::newRow(qPrintable(MusicAuthorization::text(status))) << status;
    }

    void notAuthorizedSendsNothing()
    {
        QFETCH(Status, status);
        m_service->setAuthStatus(status);
        QCOMPARE(errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights")), "Apple Music non autorisé");
        QCOMPARE(errorOf(m_service->addSong(someSong)), "Apple Music non autorisé");
        QCOMPARE(m_fake->server().requests().size(), 0);
    }

    void developerToken_data()
    {
        QTest::addColumn<QString>("tokenURL");  // "fake": the fake's
        QTest::addColumn<HttpReply>("reply");  // to the first request
        QTest::addColumn<QString>("error");  // after "Token Apple Music indisponible : "; ending in "…": a prefix
        QTest::addColumn<int>("secondsLater");
        QTest::addColumn<int>("fetches");  // after a second ask, that much later
        const HttpReply anHour = HttpReply::json(200, R"({"token":"eyJ.test","expiresIn":3600})");
        // Kept for expiresIn less five minutes, reused while that outlives now by more than a minute.
        QTest::newRow("just inside the reuse margin") << "fake" << anHour << "" << 3239 << 1;
        QTest::newRow("exactly at the reuse margin") << "fake" << anHour << "" << 3240 << 2;
        // A failure is not cached either.
        QTest::newRow("503 cut to 200 characters") << "fake" << HttpReply::text(503, QByteArray(150, 'a') + QByteArray(850, 'b'))
                                                   << "HTTP 503 — " + QString(150, 'a') + QString(50, 'b') << 0 << 2;
        QTest::newRow("404 not UTF-8") << "fake" << HttpReply::text(404, "\xff\xfe\x80 oops") << "HTTP 404 — " << 0 << 2;
        QTest::newRow("missing expiresIn") << "fake" << HttpReply::json(200, R"({"token":"t"})") << "réponse invalide : …" << 0 << 2;
        QTest::newRow("timeout") << "fake" << HttpReply::hangForever() << "réseau : …" << 0 << 2;
        QTest::newRow("no server configured") << "" << HttpReply() << "réseau : aucun serveur de jetons n'est configuré" << 0 << 0;
        QTest::newRow("not HTTP") << QUrl::fromLocalFile(AIRNOTE_FIXTURES_DIR "/storefront.json").toString() << HttpReply() << "HTTP 0 — {…" << 0 << 0;
    }

    void developerToken()
    {
        QFETCH(QString, tokenURL);
        QFETCH(HttpReply, reply);
        QFETCH(QString, error);
        QFETCH(int, secondsLater);
        QFETCH(int, fetches);
        m_fake->replyNext(Endpoint::token, reply);
        makeService(std::make_unique<KeychainTokenStore>(2s), tokenURL == "fake" ? m_fake->tokenURL() : QUrl(tokenURL), 1s);

        const QString firstError = errorOf(m_service->developerToken());

        const bool prefix = error.endsWith(u'…');
        const QString expected = error.isEmpty() ? error : "Token Apple Music indisponible : " + error.chopped(prefix ? 1 : 0);
        QVERIFY2(prefix ? firstError.startsWith(expected) && firstError.size() > expected.size() : firstError == expected, qPrintable(firstError));
        m_now = m_now.addSecs(secondsLater);
        errorOf(m_service->developerToken());
        QCOMPARE(m_fake->requestsTo(Endpoint::token).size(), fetches);
    }

    void validate_data()
    {
        QTest::addColumn<int>("status");  // -1: not an HTTP response
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");  // after "API Apple Music erreur "; empty: valid
        QTest::newRow("199") << 199 << QByteArray("early") << "199 : early";
        QTest::newRow("299") << 299 << QByteArray() << "";
        QTest::newRow("300") << 300 << QByteArray("moved") << "300 : moved";
        QTest::newRow("long body kept whole") << 500 << QByteArray(500, 'x') << "500 : " + QString(500, 'x');
        QTest::newRow("500 empty") << 500 << QByteArray() << "500 : <binary or empty>";
        QTest::newRow("500 not UTF-8") << 500 << QByteArray("ok\xc3") << "500 : <binary or empty>";
        QTest::newRow("not HTTP") << -1 << QByteArray("x") << "0 : non-HTTP response";
    }

    void validate()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        try {
            airnote::validate(WebResponse{status < 0 ? std::nullopt : std::optional<int>(status), body});
            QCOMPARE(QString(), expected);
        } catch (const ServiceError &error) {
            QCOMPARE(error.localizedDescription(), "API Apple Music erreur " + expected);
        }
    }

    void repliesOfTheRealShapes()
    {
        QCOMPARE(firstResourceID(fixture("playlist-created.json")), "p.N3wPl4yl1st");
        QCOMPARE(firstResourceID(fixture("storefront.json")), "fr");
        QCOMPARE(playlistIDNamed(fixture("library-playlists.json"), "FIP"), "p.Z9y8X7w6V5");
        QCOMPARE(catalogSongs(fixture("catalog-search-empty.json")).size(), 0);
        // A page that is not JSON must not pass for a library without the playlist.
        QVERIFY_THROWS_EXCEPTION(JsonError, playlistIDNamed("<html>", "FIP"));
    }

    void addSong_data()
    {
        QTest::addColumn<QStringList>("playlists");  // the library's, by name
        QTest::addColumn<QString>("stored");  // the remembered id; "#n": that of playlists[n]
        QTest::addColumn<Script>("script");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("remembered");  // afterwards, holding the song unless there was an error; "new": a new FIP
        const HttpReply gone = HttpReply::text(404, "gone");
        QTest::newRow("remembered playlist, whatever its name") << QStringList{"Radio FIP"} << "#0" << Script{} << "" << "#0";
        // A 404 forgets the remembered playlist, so it is looked up by name again, once.
        QTest::newRow("404 once, found again") << QStringList{"FIP"} << "#0" << Script{{Endpoint::trackAddition, gone}} << "" << "#0";
        QTest::newRow("404 twice") << QStringList{"FIP"} << "#0" << Script{{Endpoint::trackAddition, gone}, {Endpoint::trackAddition, gone}}
                                   << "API Apple Music erreur 404 : gone" << "#0";
        QTest::newRow("500 is not retried") << QStringList{"FIP"} << "#0" << Script{{Endpoint::trackAddition, HttpReply::text(500, "down")}}
                                            << "API Apple Music erreur 500 : down" << "#0";
        QTest::newRow("unsafe remembered id, forgotten") << QStringList{} << "p.1/../../storefront?x=" << Script{}
                                                         << "L'identifiant de playlist FIP enregistré était invalide ; il a été effacé, réessayez" << "";
        QTest::newRow("created without id") << QStringList{} << "" << Script{{Endpoint::playlistCreation, HttpReply::json(201, R"({"data":[]})")}}
                                            << "Impossible de créer la playlist FIP" << "";
        QTest::newRow("stored and gone, first by name") << QStringList{"Road trip", "FIP", "FIP"} << "p.Gone" << Script{} << "" << "#1";
        QTest::newRow("near names are other playlists") << QStringList{"fip", "FIP "} << "" << Script{} << "" << "new";
        // A whole page of a hundred playlists is asked for.
        QTest::newRow("100th is seen") << QStringList(99, "Other") + QStringList{"FIP"} << "" << Script{} << "" << "#99";
    }

    void addSong()
    {
        QFETCH(QStringList, playlists);
        QFETCH(QString, stored);
        QFETCH(Script, script);
        QFETCH(QString, error);
        QFETCH(QString, remembered);
        for (const QString &name : playlists)
            m_fake->addPlaylist(name);
        const auto idOf = [this](const QString &reference) { return reference.startsWith(u'#') ? m_fake->playlists().at(reference.mid(1).toInt()).id : reference; };
        if (!stored.isEmpty())
            QSettings(settingsFile(), QSettings::IniFormat).setValue("fipPlaylistID", idOf(stored));
        for (const auto &[endpoint, reply] : script)
            m_fake->replyNext(endpoint, reply);

        QCOMPARE(errorOf(m_service->addSong(someSong)), error);

        QCOMPARE(m_fake->playlists().size(), playlists.size() + (remembered == "new" ? 1 : 0));
        const FakeAppleMusic::Playlist used = remembered == "new" ? m_fake->playlists().last() : m_fake->playlist(idOf(remembered)).value_or(FakeAppleMusic::Playlist());
        QCOMPARE(QSettings(settingsFile(), QSettings::IniFormat).value("fipPlaylistID").toString(), used.id);
        if (!error.isEmpty())
            return;
        QCOMPARE(used.trackIDs, QStringList{someSong.id});
        QVERIFY(remembered != "new" || used.name == "FIP");
        // The fake takes any body; Apple wants typed resources, as JSON.
        const auto trackAddition = m_fake->requestsTo(Endpoint::trackAddition).last();
        QCOMPARE(QJsonDocument::fromJson(trackAddition.body), QJsonDocument::fromJson(R"({"data":[{"id":"1712000001","type":"songs"}]})"));
        QCOMPARE(trackAddition.header("Content-Type"), "application/json");
    }

    // A 403 refuses the listener's token, a 401 the developer token: each is
    // forgotten, the developer token fetched again once, by the next request.
    void refusedTokensAreForgotten_data()
    {
        QTest::addColumn<Endpoint>("endpoint");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("signsOut");
        QTest::newRow("403 adding to the library") << Endpoint::libraryAddition << 403 << true;
        QTest::newRow("403 reading the storefront") << Endpoint::storefront << 403 << true;
        QTest::newRow("401 adding to the library") << Endpoint::libraryAddition << 401 << false;
        QTest::newRow("401 searching the catalog") << Endpoint::catalogSearch << 401 << false;
        QTest::newRow("403 searching the catalog") << Endpoint::catalogSearch << 403 << false;
    }

    void refusedTokensAreForgotten()
    {
        QFETCH(Endpoint, endpoint);
        QFETCH(int, status);
        QFETCH(bool, signsOut);
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        QSettings(settingsFile(), QSettings::IniFormat).setValue("musicSignInDeclined", true);
        testing::MemoryKeychain::token = m_fake->musicUserToken();
        makeService(std::make_unique<testing::MemoryKeychain>(), m_fake->tokenURL());
        QCOMPARE(testing::waitFor(m_authorization->request()), Status::authorized);
        m_fake->replyNext(endpoint, HttpReply::text(status, "refused"));

        const QString error = endpoint == Endpoint::libraryAddition ? errorOf(m_service->addSong(someSong))
                                                                    : errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(error, QStringLiteral("API Apple Music erreur %1 : refused").arg(status));
        QCOMPARE(testing::MemoryKeychain::token.isEmpty(), signsOut);
        QCOMPARE(m_service->authStatus(), signsOut ? Status::notDetermined : Status::authorized);
        // The next request offers the sign-in again, even after an earlier refusal.
        QCOMPARE(QSettings(settingsFile(), QSettings::IniFormat).contains("musicSignInDeclined"), !signsOut);
        for (int ask = 0; ask < 2; ++ask)
            errorOf(m_service->developerToken());
        QCOMPARE(m_fake->requestsTo(Endpoint::token).size(), status == 401 ? 2 : 1);
    }
};

QTEST_GUILESS_MAIN(TestMusic)
#include "tst_music.moc"
