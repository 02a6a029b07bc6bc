// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/LogCapture.h"
#include "fakes/FakeAppleMusic.h"
#include "music/AppleMusicReplies.h"
#include "music/AppleMusicService.h"
#include "music/MatchScoring.h"
#include "music/ServiceError.h"
#include "platform/KeychainTokenStore.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"

#include <QCoreApplication>
#include "core/Coroutines.h"
#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <exception>
#include <memory>

using namespace airnote;
using fakes::FakeAppleMusic;
using fakes::HttpReply;
using fakes::HttpRequest;
using Status = MusicAuthorization::Status;
using Script = QList<std::pair<FakeAppleMusic::Endpoint, HttpReply>>;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(HttpReply)

using airnote::testing::LogCapture;

namespace {

// QCoro::waitFor never returns when the task throws: this runs the event loop
// until the task ends and rethrows what it threw.
template<typename T>
T runToEnd(QCoro::Task<T> task)
{
    std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> result;
    std::exception_ptr failure;
    auto settled = task.then([&](auto &&...value) { result.emplace(std::move(value)...); },
                             [&](const std::exception &) { failure = std::current_exception(); });
    while (!result && !failure)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (failure)
        std::rethrow_exception(failure);
    if constexpr (!std::is_void_v<T>)
        return std::move(*result);
}

template<typename T>
QString errorOf(QCoro::Task<T> task)
{
    try {
        runToEnd(std::move(task));
    } catch (const Error &error) {
        return error.localizedDescription();
    }
    return QStringLiteral("<no error>");
}

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(AIRNOTE_FIXTURES_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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

// The keychain in memory.
class MemoryKeychain : public MusicUserTokenProvider::Store
{
public:
    explicit MemoryKeychain(QString stored) : token(std::move(stored)) {}
    QCoro::Task<QString> read() override { co_return QString(token); }
    QCoro::Task<> write(QString value) override { token = std::move(value); co_return; }
    QCoro::Task<> remove() override { token.clear(); co_return; }
    QString token;
};

const Song someSong = song(QStringLiteral("1712000001"), QStringLiteral("Harbour Lights"), QStringLiteral("Mira & Sol"));
const QString noError = QStringLiteral("<no error>");

} // namespace

class TestMusic : public QObject
{
    Q_OBJECT

    void makeService(AppleMusicService::Configuration configuration)
    {
        m_service = std::make_unique<AppleMusicService>(&m_session, m_authorization.get(), m_userTokens.get(),
                                                        std::move(configuration));
        m_service->setAuthStatus(Status::authorized);
    }
    void makeServiceOver(std::unique_ptr<MusicUserTokenProvider::Store> keychain)
    {
        m_userTokens = std::make_unique<MusicUserTokenProvider>(std::move(keychain));
        m_authorization = std::make_unique<MusicAuthorization>(
            m_userTokens.get(), MusicAuthorization::Configuration{.settingsFile = settingsFile()});
        makeService({.tokenURL = m_fake->tokenURL(), .apiBase = m_fake->apiBase(), .settingsFile = settingsFile(),
                     .clock = [this] { return m_now; }, .requestTimeout = 60s});
    }
    QString settingsFile() const { return m_directory->filePath(QStringLiteral("Airnote.conf")); }
    QVariant storedPlaylist() const { return QSettings(settingsFile(), QSettings::IniFormat).value("fipPlaylistID"); }
    void storePlaylist(const QString &id) const { QSettings(settingsFile(), QSettings::IniFormat).setValue("fipPlaylistID", id); }
    QStringList pathsRequested() const
    {
        QStringList paths;
        for (const HttpRequest &request : m_fake->server().requests())
            paths.append(QString::fromLatin1(request.method) + u' ' + request.path);
        return paths;
    }

    QNetworkAccessManager m_session;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<FakeAppleMusic> m_fake;
    std::unique_ptr<MusicUserTokenProvider> m_userTokens;
    std::unique_ptr<MusicAuthorization> m_authorization;
    std::unique_ptr<AppleMusicService> m_service;
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
        makeServiceOver(std::make_unique<KeychainTokenStore>(2s));
    }

    void cleanup()
    {
        m_service.reset();
        m_fake.reset();
    }

    void jaroWinkler_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<double>("expected");
        QTest::newRow("both empty") << "" << "" << 0.0;
        QTest::newRow("same letter") << "a" << "a" << 1.0;
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
        QVERIFY2(qAbs(airnote::jaroWinkler(a, b) - expected) < 1e-6, qPrintable(QString::number(airnote::jaroWinkler(a, b), 'g', 10)));
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
        QTest::newRow("punctuation artist at exactly 0.5")
            << "?!" << QList<Song>{song("1", "Harbour Lights", ""), song("2", "Harbour Lighty", "")} << QStringList{"1"} << 0.5;
        QTest::newRow("unrelated dropped") << "Mira & Sol" << QList<Song>{song("1", "Xyz", "Qwv")} << QStringList{} << 0.0;
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
        QCOMPARE(matches.isEmpty() ? 0.0 : matches.first().confidence, bestConfidence);
    }

    void searchMatchesReadsTheCatalogAndLogs()
    {
        QJsonArray catalog = QJsonDocument::fromJson(fixture("catalog-search.json"))["results"]["songs"]["data"].toArray();
        for (int index = 1; index <= 12; ++index)
            catalog.append(FakeAppleMusic::songResource(QString::number(index), "Harbour Light", "Mira & Sol"));
        m_fake->setCatalog(catalog);
        m_fake->setStorefront("be");
        LogCapture log;

        const QList<CatalogMatch> matches = runToEnd(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(idsOf(matches), (QStringList{"1712000001", "1712000042", "1", "2", "3"}));
        QCOMPARE(matches.first().song.albumTitle, std::optional<QString>("Tides"));
        QCOMPARE(matches.first().song.artworkURL(200, 100), QUrl("https://is1-ssl.mzstatic.com/image/thumb/Music/aa/bb/cc/200x100bb.jpg"));
        QCOMPARE(log.messagesOf("com.velmorin.Airnote.music"), (QStringList{"search term=Mira & Sol Harbour Lights", "fetching developer token from backend",
                                           "search returned 14 songs", "returning 5 matches >= 0.5"}));
        const HttpRequest search = m_fake->requestsTo(FakeAppleMusic::Endpoint::catalogSearch).first();
        QCOMPARE(search.path, "/v1/catalog/be/search");
        QCOMPARE(search.query.queryItemValue("term", QUrl::FullyEncoded), "Mira+%26+Sol+Harbour+Lights");
        QCOMPARE(search.query.queryItemValue("types"), "songs");
        QCOMPARE(search.query.queryItemValue("limit"), "15");
        QVERIFY(!search.hasHeader("Music-User-Token"));

        // The token and the storefront are fetched once.
        runToEnd(m_service->searchMatches("Mira & Sol", "Harbour Lights"));
        QCOMPARE(pathsRequested().filter("/search").size(), 2);
        QCOMPARE(pathsRequested().size(), 4);
    }

    void searchMatchesEdges()
    {
        LogCapture log;
        QCOMPARE(runToEnd(m_service->searchMatches("Nobody", "Nothing")), QList<CatalogMatch>());
        QCOMPARE(log.messagesOf("com.velmorin.Airnote.music").mid(2), QStringList{"search returned 0 songs"});
        m_fake->replyNext(FakeAppleMusic::Endpoint::catalogSearch, HttpReply::text(500, "boom"));
        QCOMPARE(errorOf(m_service->searchMatches("Nobody", "Nothing")), "API Apple Music erreur 500 : boom");
        QCOMPARE(log.messagesOf("com.velmorin.Airnote.music").last(), "search throw: API Apple Music erreur 500 : boom");
    }

    void searchWithoutUserTokenUsesFrenchStorefront()
    {
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        QCOMPARE(runToEnd(m_service->searchMatches("Nobody", "Nothing")), QList<CatalogMatch>());
        QCOMPARE(pathsRequested(), (QStringList{"GET /api/token", "GET /v1/catalog/fr/search"}));
        // With no keychain to ask, the listener is not signed in.
        QCOMPARE(runToEnd(m_authorization->request()), Status::notDetermined);
    }

    void notAuthorizedSendsNothing_data()
    {
        QTest::addColumn<Status>("status");
        QTest::addColumn<bool>("search");
        for (const Status status : {Status::notDetermined, Status::denied, Status::restricted}) {
            const QByteArray name = MusicAuthorization::text(status).toLatin1();
            QTest::newRow(name + " search") << status << true;
            QTest::newRow(name + " save") << status << false;
        }
    }

    void notAuthorizedSendsNothing()
    {
        QFETCH(Status, status);
        QFETCH(bool, search);
        m_service->setAuthStatus(status);
        LogCapture log;
        const QString error = search ? errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights")) : errorOf(m_service->addSong(someSong));
        QCOMPARE(error, "Apple Music non autorisé");
        QCOMPARE(m_fake->server().requests().size(), 0);
        if (search)
            QCOMPARE(log.messagesOf("com.velmorin.Airnote.music"), QStringList{"search blocked: not authorized (status=" + MusicAuthorization::text(status) + ")"});
    }

    void developerTokenCache_data()
    {
        QTest::addColumn<qint64>("expiresIn");
        QTest::addColumn<int>("secondsLater");
        QTest::addColumn<int>("fetches");
        QTest::addColumn<int>("lifetime");
        QTest::newRow("just inside the reuse margin") << qint64(3600) << 3239 << 1 << 3300;
        QTest::newRow("exactly at the reuse margin") << qint64(3600) << 3240 << 2 << 3300;
        QTest::newRow("361 s is cached for a moment") << qint64(361) << 0 << 1 << 61;
        QTest::newRow("360 s is never reused") << qint64(360) << 0 << 2 << 60;
        QTest::newRow("negative") << qint64(-500) << 0 << 2 << 60;
    }

    void developerTokenCache()
    {
        QFETCH(qint64, expiresIn);
        QFETCH(int, secondsLater);
        QFETCH(int, fetches);
        QFETCH(int, lifetime);
        m_fake->setTokenLifetime(expiresIn);
        QCOMPARE(runToEnd(m_service->developerToken()), m_fake->developerToken());
        QCOMPARE(m_service->cachedDeveloperToken()->expiresAt, m_now.addSecs(lifetime));
        m_now = m_now.addSecs(secondsLater);
        QCOMPARE(runToEnd(m_service->developerToken()), m_fake->developerToken());
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::token).size(), fetches);
    }

    void developerTokenFailures_data()
    {
        QTest::addColumn<QString>("tokenURL");  // "fake": the fake's
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("expected");  // ending in "…": a prefix
        const QString prefix = QStringLiteral("Token Apple Music indisponible : ");
        const QByteArray longBody = QByteArray(150, 'a') + QByteArray(850, 'b');
        QTest::newRow("503 cut to 200 characters")
            << "fake" << HttpReply::text(503, longBody) << prefix + "HTTP 503 — " + QString(150, 'a') + QString(50, 'b');
        QTest::newRow("404 not UTF-8") << "fake" << HttpReply::text(404, "\xff\xfe\x80 oops") << prefix + "HTTP 404 — ";
        QTest::newRow("missing expiresIn") << "fake" << HttpReply::json(200, R"({"token":"t"})") << prefix + "réponse invalide : …";
        QTest::newRow("empty 200") << "fake" << HttpReply::json(200, "") << prefix + "réponse invalide : …";
        QTest::newRow("no server configured") << "" << HttpReply() << prefix + "réseau : aucun serveur de jetons n'est configuré";
        QTest::newRow("timeout") << "fake" << HttpReply::hangForever() << prefix + "réseau : …";
        QTest::newRow("not HTTP") << QUrl::fromLocalFile(AIRNOTE_FIXTURES_DIR "/storefront.json").toString() << HttpReply()
                                  << prefix + "HTTP 0 — {…";
    }

    void developerTokenFailures()
    {
        QFETCH(QString, tokenURL);
        QFETCH(HttpReply, reply);
        QFETCH(QString, expected);
        m_fake->replyNext(FakeAppleMusic::Endpoint::token, reply);
        makeService({.tokenURL = tokenURL == "fake" ? m_fake->tokenURL() : QUrl(tokenURL), .apiBase = m_fake->apiBase(),
                     .settingsFile = settingsFile(), .clock = [this] { return m_now; }, .requestTimeout = 1s});
        const QString error = errorOf(m_service->developerToken());
        if (expected.endsWith(u'…'))
            QVERIFY2(error.startsWith(expected.chopped(1)) && error.size() >= expected.size(), qPrintable(error));
        else
            QCOMPARE(error, expected);
        QVERIFY(!m_service->cachedDeveloperToken());
    }

    void validate_data()
    {
        QTest::addColumn<int>("status");  // -1: not an HTTP response
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");  // empty: valid
        QTest::newRow("199") << 199 << QByteArray("early") << "API Apple Music erreur 199 : early";
        QTest::newRow("200") << 200 << QByteArray() << "";
        QTest::newRow("299") << 299 << QByteArray() << "";
        QTest::newRow("300") << 300 << QByteArray("moved") << "API Apple Music erreur 300 : moved";
        QTest::newRow("long body kept whole") << 500 << QByteArray(500, 'x') << "API Apple Music erreur 500 : " + QString(500, 'x');
        QTest::newRow("500 empty") << 500 << QByteArray() << "API Apple Music erreur 500 : <binary or empty>";
        QTest::newRow("500 not UTF-8") << 500 << QByteArray("ok\xc3") << "API Apple Music erreur 500 : <binary or empty>";
        QTest::newRow("not HTTP") << -1 << QByteArray("x") << "API Apple Music erreur 0 : non-HTTP response";
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
            QCOMPARE(error.localizedDescription(), expected);
            QCOMPARE(error.status(), qMax(status, 0));
        }
    }

    void repliesOfTheRealShapes()
    {
        QCOMPARE(firstResourceID(fixture("playlist-created.json")), "p.N3wPl4yl1st");
        QCOMPARE(firstResourceID(fixture("storefront.json")), "fr");
        QCOMPARE(firstResourceID("{\"data\": []}"), std::nullopt);
        QCOMPARE(playlistIDNamed(fixture("library-playlists.json"), "FIP"), "p.Z9y8X7w6V5");
        QCOMPARE(playlistIDNamed("{\"data\": {}}", "FIP"), std::nullopt);
        QVERIFY_THROWS_EXCEPTION(JsonError, playlistIDNamed("<html>", "FIP"));
        QCOMPARE(catalogSongs(fixture("catalog-search-empty.json")).size(), 0);
    }

    void addSong_data()
    {
        QTest::addColumn<QString>("stored");  // "fip": the id of an existing playlist named FIP
        QTest::addColumn<Script>("script");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QStringList>("requests");  // "{id}": the stored id
        QTest::addColumn<QString>("storedAfter");
        using Endpoint = FakeAppleMusic::Endpoint;
        const QStringList library{"GET /api/token", "POST /v1/me/library"};
        const QStringList check = library + QStringList{"GET /v1/me/library/playlists/{id}"};
        const QString addition = "POST /v1/me/library/playlists/{id}/tracks";
        const QString lookup = "GET /v1/me/library/playlists";
        const HttpReply gone = HttpReply::text(404, "gone");
        QTest::newRow("remembered playlist") << "fip" << Script{} << noError << check + QStringList{addition} << "{id}";
        // Only a 200 vouches for the remembered playlist; anything else sends us looking by name.
        QTest::newRow("check answers 204") << "fip" << Script{{Endpoint::playlistCheck, HttpReply{.status = 204, .body = {}}}}
                                           << noError << check + QStringList{lookup, addition} << "{id}";
        // A 404 forgets the remembered playlist, so it is looked up by name again, once.
        QTest::newRow("404 once, recovered") << "fip" << Script{{Endpoint::trackAddition, gone}} << noError
                                             << check + QStringList{addition, lookup, addition} << "{id}";
        QTest::newRow("404 twice") << "fip" << Script{{Endpoint::trackAddition, gone}, {Endpoint::trackAddition, gone}}
                                   << "API Apple Music erreur 404 : gone" << check + QStringList{addition, lookup, addition} << "{id}";
        QTest::newRow("500 is not retried") << "fip" << Script{{Endpoint::trackAddition, HttpReply::text(500, "down")}}
                                            << "API Apple Music erreur 500 : down" << check + QStringList{addition} << "{id}";
        QTest::newRow("library down") << "fip" << Script{{Endpoint::libraryAddition, HttpReply::text(500, "library down")}}
                                      << "API Apple Music erreur 500 : library down" << library << "{id}";
        QTest::newRow("unsafe remembered id") << "p.1/../../storefront?x=" << Script{}
                                              << "L'identifiant de playlist FIP enregistré était invalide ; il a été effacé, réessayez"
                                              << library << "";
        QTest::newRow("created without id") << "" << Script{{Endpoint::playlistCreation, HttpReply::json(201, R"({"data":[]})")}}
                                            << "Impossible de créer la playlist FIP" << library + QStringList{lookup, "POST /v1/me/library/playlists"} << "";
    }

    void addSong()
    {
        QFETCH(QString, stored);
        QFETCH(Script, script);
        QFETCH(QString, error);
        QFETCH(QStringList, requests);
        QFETCH(QString, storedAfter);
        const QString id = stored == "fip" ? m_fake->addPlaylist("FIP") : stored;
        if (!id.isEmpty())
            storePlaylist(id);
        for (const auto &[endpoint, reply] : script)
            m_fake->replyNext(endpoint, reply);

        QCOMPARE(errorOf(m_service->addSong(someSong)), error);

        QCOMPARE(pathsRequested(), requests.replaceInStrings("{id}", id));
        QCOMPARE(storedPlaylist().toString(), storedAfter.replace("{id}", id));
        if (error != noError)
            return;
        QCOMPARE(m_fake->library(), QStringList{someSong.id});
        QCOMPARE(m_fake->playlist(id)->trackIDs, QStringList{someSong.id});
        const HttpRequest trackAddition = m_fake->requestsTo(FakeAppleMusic::Endpoint::trackAddition).last();
        QCOMPARE(QJsonDocument::fromJson(trackAddition.body), QJsonDocument::fromJson(R"({"data":[{"id":"1712000001","type":"songs"}]})"));
        QCOMPARE(trackAddition.header("Content-Type"), "application/json");
    }

    void addSongResolvesPlaylistByExactName_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<int>("chosen");  // index into existing; -1: a new playlist
        QTest::newRow("stored and gone, found by name") << "p.Gone" << QStringList{"Road trip", "FIP"} << 1;
        QTest::newRow("first of two") << "" << QStringList{"FIP", "FIP"} << 0;
        QTest::newRow("lower case is another playlist") << "" << QStringList{"fip"} << -1;
        QTest::newRow("trailing blank is another playlist") << "" << QStringList{"FIP "} << -1;
        QStringList hundredFirst;
        for (int index = 0; index < 100; ++index)
            hundredFirst.append(QStringLiteral("Playlist %1").arg(index));
        QTest::newRow("101st is not seen") << "" << hundredFirst + QStringList{"FIP"} << -1;
    }

    void addSongResolvesPlaylistByExactName()
    {
        QFETCH(QString, stored);
        QFETCH(QStringList, existing);
        QFETCH(int, chosen);
        QStringList ids;
        for (const QString &name : existing)
            ids.append(m_fake->addPlaylist(name));
        if (!stored.isEmpty())
            storePlaylist(stored);

        runToEnd(m_service->addSong(someSong));

        const QList<HttpRequest> creations = m_fake->requestsTo(FakeAppleMusic::Endpoint::playlistCreation);
        QCOMPARE(creations.size(), chosen < 0 ? 1 : 0);
        const QString used = chosen < 0 ? m_fake->playlists().last().id : ids.at(chosen);
        QCOMPARE(storedPlaylist().toString(), used);
        QCOMPARE(m_fake->playlist(used)->trackIDs, QStringList{someSong.id});
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::playlistList).first().query.queryItemValue("limit"), "100");
        if (chosen < 0)
            QCOMPARE(QJsonDocument::fromJson(creations.first().body).object(),
                     QJsonDocument::fromJson(R"({"attributes":{"name":"FIP","description":"Capté depuis Radio France FIP via Airnote"}})").object());
    }

    void rejectedUserTokenSignsOut_data()
    {
        QTest::addColumn<FakeAppleMusic::Endpoint>("endpoint");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("signsOut");
        QTest::newRow("403 adding to the library") << FakeAppleMusic::Endpoint::libraryAddition << 403 << true;
        QTest::newRow("403 reading the storefront") << FakeAppleMusic::Endpoint::storefront << 403 << true;
        QTest::newRow("401 adding to the library") << FakeAppleMusic::Endpoint::libraryAddition << 401 << false;
        QTest::newRow("403 searching the catalog") << FakeAppleMusic::Endpoint::catalogSearch << 403 << false;
    }

    void rejectedUserTokenSignsOut()
    {
        QFETCH(FakeAppleMusic::Endpoint, endpoint);
        QFETCH(int, status);
        QFETCH(bool, signsOut);
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        QSettings(settingsFile(), QSettings::IniFormat).setValue("musicSignInDeclined", true);
        auto keychain = std::make_unique<MemoryKeychain>(m_fake->musicUserToken());
        const MemoryKeychain *stored = keychain.get();
        makeServiceOver(std::move(keychain));
        QCOMPARE(runToEnd(m_authorization->request()), Status::authorized);
        m_fake->replyNext(endpoint, HttpReply::text(status, "refused"));

        const QString error = endpoint == FakeAppleMusic::Endpoint::libraryAddition ? errorOf(m_service->addSong(someSong))
                                                                                    : errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(error, QStringLiteral("API Apple Music erreur %1 : refused").arg(status));
        QCOMPARE(stored->token.isEmpty(), signsOut);
        QCOMPARE(m_service->authStatus(), signsOut ? Status::notDetermined : Status::authorized);
        QCOMPARE(QSettings(settingsFile(), QSettings::IniFormat).contains("musicSignInDeclined"), !signsOut);
    }

    void secretsNeverLogged()
    {
        m_fake->setCatalog({FakeAppleMusic::songResource("1", "Harbour Lights", "Mira & Sol")});
        LogCapture log;
        runToEnd(m_service->searchMatches("Mira & Sol", "Harbour Lights"));
        runToEnd(m_service->addSong(someSong));
        m_fake->replyNext(FakeAppleMusic::Endpoint::trackAddition, HttpReply::text(404, "gone"));
        runToEnd(m_service->addSong(someSong));
        m_fake->replyNext(FakeAppleMusic::Endpoint::catalogSearch, HttpReply::text(401, "bad token"));
        errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights"));
        QVERIFY(log.lines().size() >= 5);
        for (const QString &line : log.lines()) {
            QVERIFY2(!line.contains(m_fake->developerToken()), qPrintable(line));
            QVERIFY2(!line.contains(m_fake->musicUserToken()), qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(TestMusic)
#include "tst_music.moc"
