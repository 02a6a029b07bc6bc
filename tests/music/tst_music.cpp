#include "fakes/FakeAppleMusic.h"
#include "music/AppleMusicReplies.h"
#include "music/AppleMusicService.h"
#include "music/MatchScoring.h"
#include "music/ServiceError.h"
#include "platform/KeychainTokenStore.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <exception>
#include <memory>
#include <variant>

using namespace airnote;
using fakes::FakeAppleMusic;
using fakes::HttpReply;
using fakes::HttpRequest;
using Status = MusicAuthorization::Status;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(HttpReply)

namespace {

// Every line logged while it lives, as "category: message".
class LogCapture
{
public:
    LogCapture()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(&LogCapture::record);
    }
    ~LogCapture() { qInstallMessageHandler(s_previous); }
    QStringList lines() const { return s_lines; }
    QStringList music() const
    {
        QStringList messages;
        const QString prefix = QStringLiteral("com.velmorin.Airnote.music: ");
        for (const QString &line : s_lines) {
            if (line.startsWith(prefix))
                messages.append(line.mid(prefix.size()));
        }
        return messages;
    }

private:
    static void record(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        s_lines.append(QString::fromLatin1(context.category) + QStringLiteral(": ") + message);
        s_previous(type, context, message);
    }
    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

template<typename T>
using Stored = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

template<typename T>
QCoro::Task<> settle(QCoro::Task<T> task, std::optional<Stored<T>> &result, std::exception_ptr &failure)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            result.emplace();
        } else {
            result = co_await task;
        }
    } catch (...) {
        failure = std::current_exception();
    }
}

// QCoro::waitFor drops an exception the task throws and then waits forever;
// this runs the event loop until the task ends and rethrows what it threw.
template<typename T>
T runToEnd(QCoro::Task<T> task)
{
    std::optional<Stored<T>> result;
    std::exception_ptr failure;
    settle(std::move(task), result, failure);
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
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

QJsonArray songs(int count, const QString &title, const QString &artist)
{
    QJsonArray catalog;
    for (int index = 0; index < count; ++index)
        catalog.append(FakeAppleMusic::songResource(QString::number(index + 1), title, artist));
    return catalog;
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
    QCoro::Task<QString> read() override
    {
        const QString stored = token;
        co_return stored;
    }
    QCoro::Task<> write(QString value) override
    {
        token = std::move(value);
        co_return;
    }
    QCoro::Task<> remove() override
    {
        token.clear();
        co_return;
    }

    QString token;
};

const Song someSong = song(QStringLiteral("1712000001"), QStringLiteral("Harbour Lights"), QStringLiteral("Mira & Sol"));

} // namespace

class TestMusic : public QObject
{
    Q_OBJECT

public:
    enum class Backend { fake, none, closedPort, hanging, notHTTP };
    Q_ENUM(Backend)

private:

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
        makeService(configuration());
    }
    AppleMusicService::Configuration configuration() const
    {
        return {.tokenURL = m_fake->tokenURL(),
                .apiBase = m_fake->apiBase(),
                .settingsFile = settingsFile(),
                .clock = [this] { return m_now; },
                .requestTimeout = 60s};
    }
    QString settingsFile() const { return m_directory->filePath(QStringLiteral("Airnote.conf")); }
    QVariant storedPlaylist() const { return QSettings(settingsFile(), QSettings::IniFormat).value("fipPlaylistID"); }
    void storePlaylist(const QString &id) const { QSettings(settingsFile(), QSettings::IniFormat).setValue("fipPlaylistID", id); }
    QList<QByteArray> pathsRequested() const
    {
        QList<QByteArray> paths;
        for (const HttpRequest &request : m_fake->server().requests())
            paths.append(request.method + ' ' + request.path.toUtf8());
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

    void normalize_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("featuring") << "Night Drive (feat. Lou Vega)" << "night drive";
        QTest::newRow("ft") << "Night Drive (Ft Lou Vega)" << "night drive";
        QTest::newRow("remastered") << "Blue Hour (Remastered 2009)" << "blue hour";
        QTest::newRow("deluxe and bonus") << "Tides (Deluxe Edition) (Bonus Track)" << "tides";
        QTest::newRow("live in brackets") << "Harbour Lights [Live at the Olympia]" << "harbour lights";
        QTest::newRow("live in parentheses") << "Harbour Lights (Live)" << "harbour lights";
        QTest::newRow("unbracketed remaster kept") << "Blue Hour - Remastered 2011" << "blue hour remastered 2011";
        QTest::newRow("unbracketed featuring kept") << "Night Drive feat. Lou Vega" << "night drive feat lou vega";
        QTest::newRow("other brackets kept") << "Song (Radio Edit)" << "song radio edit";
        QTest::newRow("accents") << "Chloé Ça Über" << "chloe ca uber";
        QTest::newRow("decomposed accent") << "Chloe\u0301" << "chloe";
        QTest::newRow("hyphen joins") << "Jean-Loup" << "jeanloup";
        QTest::newRow("blanks and ampersand") << "  Mira & Sol " << "mira sol";
        QTest::newRow("tab and no-break space") << "Mira\t\u00a0Sol\u00a0(feat. X)" << "mira sol";
        QTest::newRow("line break dropped") << "Mr.\nBlue" << "mrblue";
        QTest::newRow("only punctuation") << "?!…" << "";
        QTest::newRow("digits and other scripts") << "Ñandú 2 東京" << "nandu 2 東京";
    }

    void normalize()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(airnote::normalize(text), expected);
    }

    void jaroWinkler_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<double>("expected");
        QTest::newRow("both empty") << "" << "" << 0.0;
        QTest::newRow("one empty") << "abc" << "" << 0.0;
        QTest::newRow("same letter") << "a" << "a" << 1.0;
        QTest::newRow("other letter") << "a" << "b" << 0.0;
        QTest::newRow("swapped pair") << "ab" << "ba" << 0.0;
        QTest::newRow("martha") << "martha" << "marhta" << 0.961111;
        QTest::newRow("dwayne") << "dwayne" << "duane" << 0.84;
        QTest::newRow("dixon") << "dixon" << "dicksonx" << 0.813333;
        QTest::newRow("canonically equal") << "caf\u00e9" << "cafe\u0301" << 1.0;
        QTest::newRow("combining mark is one character") << "e\u0301a" << "\u00e9b" << 0.7;
    }

    void jaroWinkler()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(double, expected);
        QVERIFY2(qAbs(airnote::jaroWinkler(a, b) - expected) < 1e-6,
                 qPrintable(QString::number(airnote::jaroWinkler(a, b), 'g', 10)));
    }

    void scoreMatches_data()
    {
        QTest::addColumn<QString>("artist");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QList<Song>>("catalog");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<double>("bestConfidence");
        QTest::newRow("identical after normalising")
            << "Mira & Sol" << "Harbour Lights (Live)" << QList<Song>{song("1", "Harbour Lights", "Mira and Sol"), song("2", "harbour lights", "MIRA  SOL")}
            << QStringList{"2", "1"} << 1.0;
        QTest::newRow("punctuation artist at exactly 0.5")
            << "?!" << "Blue Hour" << QList<Song>{song("1", "Blue Hour", ""), song("2", "Blue Hours", "")}
            << QStringList{"1"} << 0.5;
        QTest::newRow("unrelated dropped")
            << "Mira & Sol" << "Harbour Lights" << QList<Song>{song("1", "Xyz", "Qwv")} << QStringList{} << 0.0;
        QTest::newRow("ties keep the catalog's order")
            << "Mira & Sol" << "Harbour Lights"
            << QList<Song>{song("a", "Harbour Light", "Mira & Sol"), song("b", "Harbour Lights", "Mira & Sol"),
                           song("c", "Harbour Light", "Mira & Sol")}
            << QStringList{"b", "a", "c"} << 1.0;
        // Enough songs that an unstable sort would shuffle the ties.
        QList<Song> many;
        for (int index = 0; index < 40; ++index)
            many.append(song(QString::number(index), index % 2 ? "Harbour Lights" : "Harbour Light", "Mira & Sol"));
        QTest::newRow("at most five, ties in order") << "Mira & Sol" << "Harbour Lights" << many
                                                     << QStringList{"1", "3", "5", "7", "9"} << 1.0;
    }

    void scoreMatches()
    {
        QFETCH(QString, artist);
        QFETCH(QString, title);
        QFETCH(QList<Song>, catalog);
        QFETCH(QStringList, expected);
        QFETCH(double, bestConfidence);
        const QList<CatalogMatch> matches = airnote::scoreMatches(artist, title, catalog);
        QCOMPARE(idsOf(matches), expected);
        if (!matches.isEmpty())
            QCOMPARE(matches.first().confidence, bestConfidence);
    }

    void searchMatchesReadsTheCatalogAndLogs()
    {
        QJsonArray catalog = QJsonDocument::fromJson(fixture("catalog-search.json"))["results"]["songs"]["data"].toArray();
        for (const QJsonValue &other : songs(12, "Harbour Light", "Mira & Sol"))
            catalog.append(other);
        m_fake->setCatalog(catalog);
        m_fake->setStorefront("be");
        LogCapture log;

        const QList<CatalogMatch> matches = runToEnd(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(idsOf(matches), (QStringList{"1712000001", "1712000042", "1", "2", "3"}));
        const Song &first = matches.first().song;
        QCOMPARE(first.albumTitle, std::optional<QString>("Tides"));
        QCOMPARE(first.artworkURL(200, 100), QUrl("https://is1-ssl.mzstatic.com/image/thumb/Music/aa/bb/cc/200x100bb.jpg"));
        QCOMPARE(matches.at(1).song.albumTitle, std::nullopt);
        QCOMPARE(log.music(), (QStringList{"search term=Mira & Sol Harbour Lights", "fetching developer token from backend",
                                           "search returned 14 songs", "returning 5 matches >= 0.5"}));

        const QList<HttpRequest> searches = m_fake->requestsTo(FakeAppleMusic::Endpoint::catalogSearch);
        QCOMPARE(searches.size(), 1);
        QCOMPARE(searches.first().path, "/v1/catalog/be/search");
        QCOMPARE(searches.first().query.queryItemValue("term", QUrl::FullyEncoded), "Mira+%26+Sol+Harbour+Lights");
        QCOMPARE(searches.first().query.queryItemValue("types"), "songs");
        QCOMPARE(searches.first().query.queryItemValue("limit"), "15");
        QCOMPARE(searches.first().header("Authorization"), "Bearer " + m_fake->developerToken().toUtf8());
        QVERIFY(!searches.first().hasHeader("Music-User-Token"));

        QCOMPARE(runToEnd(m_service->searchMatches("Mira & Sol", "Harbour Lights")).size(), 5);
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::token).size(), 1);
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::storefront).size(), 1);
    }

    void searchMatchesWithoutUserTokenUsesFrenchStorefront()
    {
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        QCOMPARE(runToEnd(m_service->searchMatches("Nobody", "Nothing")), QList<CatalogMatch>());
        QCOMPARE(pathsRequested(), (QList<QByteArray>{"GET /api/token", "GET /v1/catalog/fr/search"}));
    }

    void searchMatchesEdges()
    {
        LogCapture log;
        QCOMPARE(runToEnd(m_service->searchMatches("Nobody", "Nothing")), QList<CatalogMatch>());
        QCOMPARE(log.music().mid(2), QStringList{"search returned 0 songs"});

        m_fake->replyNext(FakeAppleMusic::Endpoint::catalogSearch, HttpReply::text(500, "boom"));
        QCOMPARE(errorOf(m_service->searchMatches("Nobody", "Nothing")), "API Apple Music erreur 500 : boom");
        QCOMPARE(log.music().last(), "search throw: API Apple Music erreur 500 : boom");
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
        const QString error = search ? errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights"))
                                     : errorOf(m_service->addSong(someSong));
        QCOMPARE(error, "Apple Music non autorisé");
        QCOMPARE(m_fake->server().requests().size(), 0);
        if (search)
            QCOMPARE(log.music(), QStringList{"search blocked: not authorized (status=" + MusicAuthorization::text(status) + ")"});
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
        QTest::newRow("zero") << qint64(0) << 0 << 2 << 60;
        QTest::newRow("negative") << qint64(-500) << 0 << 2 << 60;
    }

    void developerTokenCache()
    {
        QFETCH(qint64, expiresIn);
        QFETCH(int, secondsLater);
        QFETCH(int, fetches);
        QFETCH(int, lifetime);
        m_fake->setTokenLifetime(expiresIn);
        LogCapture log;
        QCOMPARE(runToEnd(m_service->developerToken()), m_fake->developerToken());
        QCOMPARE(m_service->cachedDeveloperToken()->expiresAt, m_now.addSecs(lifetime));
        m_now = m_now.addSecs(secondsLater);
        QCOMPARE(runToEnd(m_service->developerToken()), m_fake->developerToken());
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::token).size(), fetches);
        QCOMPARE(log.music().count("fetching developer token from backend"), fetches);
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::token).first().header("Accept"), "application/json");
    }

    void developerTokenFailures_data()
    {
        QTest::addColumn<Backend>("backend");
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("exact");
        const QString prefix = QStringLiteral("Token Apple Music indisponible : ");
        const QByteArray longBody = QByteArray(150, 'a') + QByteArray(850, 'b');
        QTest::newRow("503 cut to 200 characters")
            << Backend::fake << HttpReply::text(503, longBody) << prefix + "HTTP 503 — " + QString(150, 'a') + QString(50, 'b') << true;
        QTest::newRow("404 not UTF-8") << Backend::fake << HttpReply::text(404, "\xff\xfe\x80 oops") << prefix + "HTTP 404 — " << true;
        QTest::newRow("missing expiresIn") << Backend::fake << HttpReply::json(200, R"({"token":"t"})")
                                           << prefix + "réponse invalide : " << false;
        QTest::newRow("expiresIn as text") << Backend::fake << HttpReply::json(200, R"({"token":"t","expiresIn":"3600"})")
                                           << prefix + "réponse invalide : " << false;
        QTest::newRow("empty 200") << Backend::fake << HttpReply::json(200, "") << prefix + "réponse invalide : " << false;
        QTest::newRow("no server configured") << Backend::none << HttpReply()
                                              << prefix + "réseau : aucun serveur de jetons n'est configuré" << true;
        QTest::newRow("connection refused") << Backend::closedPort << HttpReply() << prefix + "réseau : " << false;
        QTest::newRow("timeout") << Backend::hanging << HttpReply() << prefix + "réseau : " << false;
        QTest::newRow("not HTTP") << Backend::notHTTP << HttpReply() << prefix + "HTTP 0 — {\"token\"" << false;
    }

    void developerTokenFailures()
    {
        QFETCH(Backend, backend);
        QFETCH(HttpReply, reply);
        QFETCH(QString, expected);
        QFETCH(bool, exact);
        AppleMusicService::Configuration settings = configuration();
        switch (backend) {
        case Backend::fake:
            m_fake->replyNext(FakeAppleMusic::Endpoint::token, reply);
            break;
        case Backend::none:
            settings.tokenURL = QUrl();
            break;
        case Backend::closedPort: {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            settings.tokenURL = QUrl(QStringLiteral("http://127.0.0.1:%1/api/token").arg(closed.serverPort()));
            break;
        }
        case Backend::hanging:
            m_fake->replyNext(FakeAppleMusic::Endpoint::token, HttpReply::hangForever());
            settings.requestTimeout = 100ms;
            break;
        case Backend::notHTTP: {
            QFile file(m_directory->filePath("token.json"));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(R"({"token":"t","expiresIn":3600})");
            settings.tokenURL = QUrl::fromLocalFile(file.fileName());
            break;
        }
        }
        makeService(settings);
        const QString error = errorOf(m_service->developerToken());
        if (exact)
            QCOMPARE(error, expected);
        else
            QVERIFY2(error.startsWith(expected) && error.size() > expected.size(), qPrintable(error));
        QVERIFY(!m_service->cachedDeveloperToken());
    }

    void authorizedSetsExactlyTwoHeaders()
    {
        QNetworkRequest request(m_fake->apiBase());
        request.setRawHeader("X-Other", "kept");
        request.setRawHeader("Authorization", "Bearer stale");
        request.setRawHeader("Music-User-Token", "stale");
        const QNetworkRequest equipped = runToEnd(m_service->authorized(request));
        QCOMPARE(equipped.rawHeaderList(), (QList<QByteArray>{"X-Other", "Authorization", "Music-User-Token"}));
        QCOMPARE(equipped.rawHeader("Authorization"), "Bearer " + m_fake->developerToken().toUtf8());
        QCOMPARE(equipped.rawHeader("Music-User-Token"), m_fake->musicUserToken().toUtf8());
        QCOMPARE(equipped.rawHeader("X-Other"), "kept");
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
        QTest::newRow("404 text") << 404 << QByteArray("not found") << "API Apple Music erreur 404 : not found";
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
        const WebResponse response{status < 0 ? std::nullopt : std::optional<int>(status), body};
        try {
            airnote::validate(response);
            QCOMPARE(QString(), expected);
        } catch (const ServiceError &error) {
            QCOMPARE(error.localizedDescription(), expected);
            QCOMPARE(error.status(), qMax(status, 0));
        }
    }

    void serviceErrorMessages_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("expected");
        QTest::newRow("tokenFetchFailed") << ServiceError::tokenFetchFailed("x").localizedDescription()
                                          << "Token Apple Music indisponible : x";
        QTest::newRow("apiError") << ServiceError::apiError(404, "not found").localizedDescription()
                                  << "API Apple Music erreur 404 : not found";
        QTest::newRow("addFailed") << ServiceError::addFailed("y").localizedDescription() << "Ajout impossible : y";
        QTest::newRow("notAuthorized") << ServiceError::notAuthorized().localizedDescription() << "Apple Music non autorisé";
        QTest::newRow("noSubscription") << ServiceError::noSubscription().localizedDescription() << "Abonnement Apple Music requis";
        QTest::newRow("noMatch") << ServiceError::noMatch().localizedDescription() << "Aucune correspondance trouvée";
        QTest::newRow("playlistCreateFailed") << ServiceError::playlistCreateFailed().localizedDescription()
                                              << "Impossible de créer la playlist FIP";
    }

    void serviceErrorMessages()
    {
        QFETCH(QString, message);
        QFETCH(QString, expected);
        QCOMPARE(message, expected);
    }

    void repliesOfTheRealShapes()
    {
        QCOMPARE(firstResourceID(fixture("playlist-created.json")), "p.N3wPl4yl1st");
        QCOMPARE(firstResourceID(fixture("storefront.json")), "fr");
        QCOMPARE(firstResourceID("{\"data\": []}"), std::nullopt);
        QCOMPARE(firstResourceID("not json"), std::nullopt);
        QCOMPARE(playlistIDNamed(fixture("library-playlists.json"), "FIP"), "p.Z9y8X7w6V5");
        QCOMPARE(playlistIDNamed("{\"data\": {}}", "FIP"), std::nullopt);
        QVERIFY_THROWS_EXCEPTION(JsonError, playlistIDNamed("<html>", "FIP"));
        QCOMPARE(catalogSongs(fixture("catalog-search-empty.json")).size(), 0);
    }

    void addSongWithStoredPlaylist()
    {
        const QString id = m_fake->addPlaylist("FIP");
        storePlaylist(id);
        runToEnd(m_service->addSong(someSong));
        QCOMPARE(pathsRequested(), (QList<QByteArray>{"GET /api/token", "POST /v1/me/library",
                                                      "GET /v1/me/library/playlists/" + id.toUtf8(),
                                                      "POST /v1/me/library/playlists/" + id.toUtf8() + "/tracks"}));
        QCOMPARE(m_fake->library(), QStringList{someSong.id});
        QCOMPARE(m_fake->playlist(id)->trackIDs, QStringList{someSong.id});
        const HttpRequest addition = m_fake->requestsTo(FakeAppleMusic::Endpoint::trackAddition).first();
        QCOMPARE(QJsonDocument::fromJson(addition.body),
                 QJsonDocument::fromJson(R"({"data":[{"id":"1712000001","type":"songs"}]})"));
        QCOMPARE(addition.header("Content-Type"), "application/json");

        m_fake->server().clearRequests();
        m_fake->replyNext(FakeAppleMusic::Endpoint::playlistCheck, HttpReply{.status = 204, .body = {}});
        runToEnd(m_service->addSong(someSong));
        // Only a 200 vouches for the remembered playlist; anything else sends us looking by name.
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::playlistList).size(), 1);
        QCOMPARE(storedPlaylist().toString(), id);
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
        hundredFirst.append("FIP");
        QTest::newRow("101st is not seen") << "" << hundredFirst << -1;
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
        if (chosen < 0) {
            QCOMPARE(QJsonDocument::fromJson(creations.first().body).object(),
                     QJsonDocument::fromJson(R"({"attributes":{"name":"FIP","description":"Capté depuis Radio France FIP via Airnote"}})").object());
            QCOMPARE(creations.first().header("Content-Type"), "application/json");
        }
    }

    void trackAdditionRecovery_data()
    {
        QTest::addColumn<QList<HttpReply>>("replies");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("attempts");
        QTest::addColumn<int>("lookups");
        const HttpReply gone = HttpReply::text(404, "gone");
        QTest::newRow("404 once, recovered") << QList<HttpReply>{gone} << "<no error>" << 2 << 1;
        QTest::newRow("404 twice") << QList<HttpReply>{gone, gone} << "API Apple Music erreur 404 : gone" << 2 << 1;
        QTest::newRow("500 is not retried") << QList<HttpReply>{HttpReply::text(500, "down")}
                                            << "API Apple Music erreur 500 : down" << 1 << 0;
    }

    void trackAdditionRecovery()
    {
        QFETCH(QList<HttpReply>, replies);
        QFETCH(QString, expected);
        QFETCH(int, attempts);
        QFETCH(int, lookups);
        const QString id = m_fake->addPlaylist("FIP");
        storePlaylist(id);
        for (const HttpReply &reply : replies)
            m_fake->replyNext(FakeAppleMusic::Endpoint::trackAddition, reply);
        QCOMPARE(errorOf(m_service->addSong(someSong)), expected);
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::trackAddition).size(), attempts);
        // A 404 forgets the remembered playlist, so it is looked up by name again.
        QCOMPARE(m_fake->requestsTo(FakeAppleMusic::Endpoint::playlistList).size(), lookups);
        QCOMPARE(storedPlaylist().toString(), id);
    }

    void addSongFailures()
    {
        m_fake->replyNext(FakeAppleMusic::Endpoint::playlistCreation, HttpReply::json(201, R"({"data":[]})"));
        QCOMPARE(errorOf(m_service->addSong(someSong)), "Impossible de créer la playlist FIP");
        QVERIFY(!storedPlaylist().isValid());

        m_fake->server().clearRequests();
        m_fake->replyNext(FakeAppleMusic::Endpoint::libraryAddition, HttpReply::text(500, "library down"));
        QCOMPARE(errorOf(m_service->addSong(someSong)), "API Apple Music erreur 500 : library down");
        QCOMPARE(pathsRequested(), QList<QByteArray>{"POST /v1/me/library"});

        m_fake->server().clearRequests();
        storePlaylist("p.1/../../storefront?x=");
        QVERIFY(errorOf(m_service->addSong(someSong)).contains("playlist FIP enregistré était invalide"));
        QVERIFY(!storedPlaylist().isValid());
        QCOMPARE(pathsRequested(), QList<QByteArray>{"POST /v1/me/library"});
    }

    void keychainWithoutServiceFailsClearly()
    {
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        const QString error = errorOf(m_userTokens->userToken("developer"));
        QVERIFY2(error.contains("Apple Music user token"), qPrintable(error));
        QCOMPARE(runToEnd(m_authorization->request()), Status::notDetermined);
        qputenv("AIRNOTE_MUSIC_USER_TOKEN", "from-environment");
        QCOMPARE(runToEnd(m_userTokens->userToken("developer")), "from-environment");
        QCOMPARE(runToEnd(m_authorization->request()), Status::authorized);
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

        const QString error = endpoint == FakeAppleMusic::Endpoint::libraryAddition
            ? errorOf(m_service->addSong(someSong))
            : errorOf(m_service->searchMatches("Mira & Sol", "Harbour Lights"));

        QCOMPARE(error, QStringLiteral("API Apple Music erreur %1 : refused").arg(status));
        QCOMPARE(stored->token.isEmpty(), signsOut);
        QCOMPARE(m_service->authStatus(), signsOut ? Status::notDetermined : Status::authorized);
        QCOMPARE(QSettings(settingsFile(), QSettings::IniFormat).contains("musicSignInDeclined"), !signsOut);
    }

    void secretsNeverLogged()
    {
        m_fake->setCatalog(songs(3, "Harbour Lights", "Mira & Sol"));
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
