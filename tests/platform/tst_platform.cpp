#include "platform/Endpoints.h"
#include "platform/Error.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "platform/SignInServer.h"
#include "platform/SingleInstance.h"

#include <QCoroNetworkReply>
#include <QCoroTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QtConcurrent/QtConcurrentRun>
#include <QUrlQuery>

#include <memory>

using namespace airnote;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Status = MusicAuthorization::Status;

namespace {

const QString developerToken = u"eyJdev"_s;
const QString userToken = u"music-user-token-Ab12"_s;

QStringList loggedMessages;
QtMessageHandler previousHandler = nullptr;

void recordMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    loggedMessages.append(message);
    if (previousHandler)
        previousHandler(type, context, message);
}

struct LaterDeleter
{
    void operator()(QObject *object) const { object->deleteLater(); }
};

struct BrowserReply
{
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    int status = 0;
    QByteArray body;
    QHash<QByteArray, QByteArray> headers;  // names lower-cased
};

// Plays the system browser: gets the page address from the server and speaks HTTP to it.
class Browser
{
public:
    SignInServer::BrowserOpener opener()
    {
        return [this](QUrl url) {
            pageUrl = url;
            ++openings;
        };
    }

    QString state() const { return QUrlQuery(pageUrl).queryItemValue(u"state"_s); }
    QByteArray origin() const { return pageUrl.adjusted(QUrl::RemovePath | QUrl::RemoveQuery).toEncoded(); }

    BrowserReply send(QByteArray method, QString target, QList<std::pair<QByteArray, QByteArray>> headers = {},
                      QByteArray body = {})
    {
        QNetworkRequest request(pageUrl.resolved(QUrl(target)));
        for (const auto &[name, value] : headers)
            request.setRawHeader(name, value);
        return QCoro::waitFor(exchange(std::move(request), std::move(method), std::move(body)));
    }

    BrowserReply report(QJsonObject outcome)
    {
        outcome.insert(u"state", state());
        return send("POST", u"/callback"_s, {{"Origin", origin()}, {"Content-Type", "application/json"}},
                    QJsonDocument(outcome).toJson());
    }

    QUrl pageUrl;
    int openings = 0;

private:
    QCoro::Task<BrowserReply> exchange(QNetworkRequest request, QByteArray method, QByteArray body)
    {
        const std::unique_ptr<QNetworkReply, LaterDeleter> reply(m_network.sendCustomRequest(request, method, body));
        co_await reply.get();
        BrowserReply result{reply->error(), reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                            reply->readAll(), {}};
        for (const auto &[name, value] : reply->rawHeaderPairs())
            result.headers.insert(name.toLower(), value);
        co_return result;
    }

    QNetworkAccessManager m_network;
};

// The keychain in memory; like the real one it answers later, never at once.
class MemoryKeychain : public MusicUserTokenProvider::Store
{
public:
    QCoro::Task<QString> read() override
    {
        co_await answerLater();
        const QString stored = token;
        co_return stored;
    }
    QCoro::Task<> write(QString value) override
    {
        co_await answerLater();
        token = value;
    }
    QCoro::Task<> remove() override
    {
        co_await answerLater();
        token.clear();
    }

    QString token;
    bool reachable = true;

private:
    QCoro::Task<> answerLater() const
    {
        co_await QCoro::sleepFor(0ms);
        if (!reachable)
            throw MusicUserTokenProvider::Unavailable(u"The system keychain is locked"_s);
    }
};

struct DeveloperTokens
{
    QCoro::Task<QString> fetch()
    {
        ++fetches;
        co_await QCoro::sleepFor(0ms);
        if (!available)
            throw NetworkError(u"Token Apple Music indisponible : réseau : refused"_s);
        co_return developerToken;
    }

    int fetches = 0;
    bool available = true;
};

// An authorization as the program builds it, over the test browser, an
// in-memory keychain and its own settings file.
class SignInBench
{
public:
    explicit SignInBench(const QString &settingsFile, std::chrono::milliseconds signInTimeout = 5min)
        : keychain(new MemoryKeychain)
        , userTokens(std::unique_ptr<MusicUserTokenProvider::Store>(keychain))
        , authorization(&userTokens, {settingsFile, browser.opener(), signInTimeout})
    {
        authorization.setDeveloperTokenSource([this] { return developerTokens.fetch(); });
    }

    MusicAuthorization::Status request() { return QCoro::waitFor(authorization.request()); }
    void awaitSignInEnd() { QVERIFY(QSignalSpy(&authorization, &MusicAuthorization::signInFinished).wait()); }

    Browser browser;
    DeveloperTokens developerTokens;
    MemoryKeychain *keychain;
    MusicUserTokenProvider userTokens;
    MusicAuthorization authorization;
};

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
        previousHandler = qInstallMessageHandler(recordMessage);
    }

    void servesThePageWithTheTokenInert()
    {
        const QString trickyToken = u"ey\"J</script><script>alert(1)</script>&{{scriptNonce}}"_s;
        SignInServer server;
        Browser browser;
        auto run = server.run(trickyToken, browser.opener());

        const BrowserReply page = browser.send("GET", "/?state="_L1 + browser.state());

        QCOMPARE(page.status, 200);
        QVERIFY(page.headers.value("content-type").startsWith("text/html"));
        QCOMPARE(page.headers.value("cache-control"), "no-store");
        QCOMPARE(page.headers.value("referrer-policy"), "no-referrer");
        QVERIFY(page.body.contains("src=\"https://js-cdn.music.apple.com/musickit/v3/musickit.js\""));
        QVERIFY(!page.body.contains("</script><script>alert(1)"));

        const QRegularExpression configurationBlock(uR"(<script type="application/json" id="configuration">(.*?)</script>)"_s);
        const QJsonObject configuration =
            QJsonDocument::fromJson(configurationBlock.match(QString::fromUtf8(page.body)).captured(1).toUtf8()).object();
        QCOMPARE(configuration.value(u"developerToken").toString(), trickyToken);
        QCOMPARE(configuration.value(u"state").toString(), browser.state());

        const QByteArray policy = page.headers.value("content-security-policy");
        const QString nonce = QRegularExpression(u"'nonce-([^']+)'"_s).match(QString::fromLatin1(policy)).captured(1);
        QVERIFY(!nonce.isEmpty());
        QVERIFY(policy.contains("script-src 'nonce-" + nonce.toLatin1() + "' https://js-cdn.music.apple.com;"));
        QVERIFY(!policy.contains("unsafe-inline"));
        // Every script the browser runs must carry the nonce, or the policy blocks it.
        const QRegularExpression scriptTag(uR"(<script(?! type="application/json")[^>]*>)"_s);
        for (const QRegularExpressionMatch &tag : scriptTag.globalMatch(QString::fromUtf8(page.body)))
            QVERIFY2(tag.captured().contains(u"nonce=\"%1\""_s.arg(nonce)), qPrintable(tag.captured()));
        browser.report({{u"declined"_s, true}});
        QCoro::waitFor(std::move(run));
    }

    void refusesWhatIsNotTheSignIn_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("expectedStatus");

        // {state}, {origin} and {port} stand for the sign-in's own values.
        const auto row = [](const char *name, QByteArray method, QString target, QByteArray headers, QByteArray body,
                            int status) { QTest::newRow(name) << method << target << headers << body << status; };
        const QByteArray fromPage = "Origin: {origin}\nContent-Type: application/json";
        const QByteArray valid = R"({"state":"{state}","musicUserToken":"stolen"})";
        row("page with a wrong state", "GET", u"/?state=guess"_s, {}, {}, 403);
        row("page without state", "GET", u"/"_s, {}, {}, 403);
        row("page by POST", "POST", u"/?state={state}"_s, fromPage, valid, 405);
        row("page under a rebound name", "GET", u"/?state={state}"_s, "Host: attacker.example:{port}", {}, 403);
        row("unknown path", "GET", u"/favicon.ico"_s, {}, {}, 404);
        row("callback by GET", "GET", u"/callback"_s, fromPage, {}, 405);
        row("callback by PUT", "PUT", u"/callback"_s, fromPage, valid, 405);
        row("callback with a wrong state", "POST", u"/callback"_s, fromPage, R"({"state":"guess","musicUserToken":"x"})", 403);
        row("callback from another site", "POST", u"/callback"_s, "Origin: http://attacker.example\nContent-Type: application/json", valid, 403);
        row("callback from another port", "POST", u"/callback"_s, "Origin: http://127.0.0.1:1\nContent-Type: application/json", valid, 403);
        row("callback without origin", "POST", u"/callback"_s, "Content-Type: application/json", valid, 403);
        row("callback as plain text", "POST", u"/callback"_s, "Origin: {origin}\nContent-Type: text/plain", valid, 415);
        row("callback that is not JSON", "POST", u"/callback"_s, fromPage, "token=x", 400);
        row("callback without outcome", "POST", u"/callback"_s, fromPage, R"({"state":"{state}"})", 400);
        row("callback with an empty token", "POST", u"/callback"_s, fromPage, R"({"state":"{state}","musicUserToken":""})", 400);
    }

    void refusesWhatIsNotTheSignIn()
    {
        QFETCH(QByteArray, method);
        QFETCH(QString, target);
        QFETCH(QByteArray, headers);
        QFETCH(QByteArray, body);
        QFETCH(int, expectedStatus);
        SignInServer server;
        Browser browser;
        auto run = server.run(developerToken, browser.opener());
        const QByteArray state = browser.state().toLatin1();
        headers.replace("{origin}", browser.origin()).replace("{port}", QByteArray::number(browser.pageUrl.port()));
        QList<std::pair<QByteArray, QByteArray>> headerList;
        for (const QByteArray &line : headers.split('\n')) {
            const qsizetype colon = line.indexOf(": ");
            if (colon > 0)
                headerList.append({line.left(colon), line.mid(colon + 2)});
        }

        const BrowserReply refused = browser.send(method, target.replace(u"{state}"_s, browser.state()), headerList,
                                                  body.replace("{state}", state));

        QCOMPARE(refused.status, expectedStatus);
        QVERIFY(server.isRunning());
        QCOMPARE(browser.report({{u"musicUserToken"_s, userToken}}).status, 204);
        QCOMPARE(QCoro::waitFor(std::move(run)).musicUserToken, userToken);
    }

    void endsWithTheFirstReport_data()
    {
        QTest::addColumn<QJsonObject>("report");
        QTest::addColumn<SignInResult>("expected");

        using Outcome = SignInResult::Outcome;
        QTest::newRow("authorized") << QJsonObject{{u"musicUserToken"_s, userToken}} << SignInResult{Outcome::authorized, userToken, {}};
        QTest::newRow("declined") << QJsonObject{{u"declined"_s, true}} << SignInResult{Outcome::declined, {}, {}};
        QTest::newRow("page failure") << QJsonObject{{u"error"_s, u"MusicKit introuvable"_s}}
                                      << SignInResult{Outcome::failed, {}, u"Connexion à Apple Music impossible : MusicKit introuvable"_s};
    }

    void endsWithTheFirstReport()
    {
        QFETCH(QJsonObject, report);
        QFETCH(SignInResult, expected);
        loggedMessages.clear();
        SignInServer server;
        Browser browser;
        auto run = server.run(developerToken, browser.opener());
        const QString state = browser.state();

        QCOMPARE(browser.report(report).status, 204);

        QCOMPARE(QCoro::waitFor(std::move(run)), expected);
        QVERIFY(!server.isRunning());
        QCOMPARE(browser.openings, 1);
        const BrowserReply replay = browser.report({{u"musicUserToken"_s, u"second"_s}});
        // Refused by the closed port, or with 403 on a connection kept alive from the first report.
        QVERIFY(replay.error == QNetworkReply::ConnectionRefusedError || replay.status == 403);
        const QString log = loggedMessages.join(u'\n');
        QVERIFY(!log.isEmpty());
        for (const QString &secret : {developerToken, userToken, state})
            QVERIFY2(!log.contains(secret), qPrintable(log));
    }

    void timesOutThenStartsAfresh()
    {
        SignInServer server(20ms);
        Browser browser;

        QCOMPARE(QCoro::waitFor(server.run(developerToken, browser.opener())).outcome, SignInResult::Outcome::timedOut);
        const QString expiredState = browser.state();
        QCOMPARE(browser.send("GET", "/?state="_L1 + expiredState).error, QNetworkReply::ConnectionRefusedError);

        auto second = server.run(developerToken, browser.opener());
        QVERIFY(browser.state() != expiredState);
        QCOMPARE(browser.send("GET", "/?state="_L1 + expiredState).status, 403);
        QCOMPARE(QCoro::waitFor(std::move(second)).outcome, SignInResult::Outcome::timedOut);
    }

    void secondRunJoinsTheFirst()
    {
        SignInServer server;
        Browser browser;
        auto first = server.run(developerToken, browser.opener());
        auto second = server.run(u"another developer token"_s, browser.opener());

        QCOMPARE(browser.openings, 1);
        browser.report({{u"musicUserToken"_s, userToken}});

        QCOMPARE(QCoro::waitFor(std::move(first)).musicUserToken, userToken);
        QCOMPARE(QCoro::waitFor(std::move(second)).musicUserToken, userToken);
    }

    void listensOnLoopbackOnly()
    {
        // Traffic must stay on loopback here, so check where the server listens and
        // that a page asked for under another host name (DNS rebinding) is refused.
        SignInServer server;
        Browser browser;
        auto run = server.run(developerToken, browser.opener());
        QVERIFY(QHostAddress(browser.pageUrl.host()).isLoopback());

        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, browser.pageUrl.port());
        QVERIFY(socket.waitForConnected());
        socket.write("GET /?state=" + browser.state().toLatin1() + " HTTP/1.1\r\nHost: attacker.example:"
                     + QByteArray::number(browser.pageUrl.port()) + "\r\nConnection: close\r\n\r\n");
        QTRY_VERIFY(socket.bytesAvailable() > 0 || socket.state() == QAbstractSocket::UnconnectedState);
        QVERIFY(socket.readLine().startsWith("HTTP/1.1 403"));

        browser.report({{u"declined"_s, true}});
        QCOMPARE(QCoro::waitFor(std::move(run)).outcome, SignInResult::Outcome::declined);
    }

    void judgesEnvironmentOverrides_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("https anywhere") << u"https://api.example.org/live"_s << true;
        QTest::newRow("http on 127.0.0.1") << u"http://127.0.0.1:8080/live"_s << true;
        QTest::newRow("http on 127.x") << u"http://127.8.9.10/"_s << true;
        QTest::newRow("http on ::1") << u"http://[::1]:9000"_s << true;
        QTest::newRow("http on localhost") << u"http://localhost:9000"_s << true;
        QTest::newRow("http on a network host") << u"http://api.example.org/live"_s << false;
        QTest::newRow("http on a private address") << u"http://192.168.1.4/"_s << false;
        QTest::newRow("host looking like loopback") << u"http://127.0.0.1.example.org/"_s << false;
        QTest::newRow("other scheme") << u"ftp://127.0.0.1/"_s << false;
        QTest::newRow("no host") << u"https:///live"_s << false;
    }

    void judgesEnvironmentOverrides()
    {
        QFETCH(QString, value);
        QFETCH(bool, accepted);
        qputenv("AIRNOTE_MUSIC_API_BASE", value.toUtf8());
        bool refusedNamingTheVariable = false;
        try {
            QCOMPARE(Endpoints::fromEnvironment().musicAPIBase, QUrl(value));
        } catch (const ConfigurationError &error) {
            refusedNamingTheVariable = error.localizedDescription().startsWith(u"AIRNOTE_MUSIC_API_BASE"_s);
        }
        qunsetenv("AIRNOTE_MUSIC_API_BASE");
        QCOMPARE(refusedNamingTheVariable, !accepted);
    }

    void handsActionsToTheRunningInstance()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(u"instance.socket"_s);
        SingleInstance later(name);
        QVERIFY(!later.sendToRunningInstance(u"save"_s, 200));

        SingleInstance running(name);
        QVERIFY(running.listen());
        QSignalSpy received(&running, &SingleInstance::actionReceived);
        // The sender blocks on its acknowledgement, so it runs on its own thread here.
        auto sent = QtConcurrent::run([&later] { return later.sendToRunningInstance(u"save"_s); });
        QTRY_COMPARE(received.count(), 1);
        QCOMPARE(received.at(0).at(0).toString(), u"save"_s);
        QVERIFY(sent.result());
        QVERIFY(!SingleInstance(name).listen());
    }

    void takesOverASocketLeftByACrash()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(u"instance.socket"_s);
        QFile leftover(name);
        QVERIFY(leftover.open(QIODevice::WriteOnly));
        leftover.close();
        SingleInstance instance(name);
        QVERIFY(instance.listen());
    }

    void signsInOnceForOverlappingRequests()
    {
        loggedMessages.clear();
        QTemporaryDir folder;
        SignInBench bench(folder.filePath(u"Airnote.conf"_s));
        QSignalSpy statusChanges(&bench.authorization, &MusicAuthorization::statusChanged);

        auto first = bench.authorization.request();
        auto second = bench.authorization.request();
        QTRY_COMPARE(bench.browser.openings, 1);
        const QString state = bench.browser.state();
        QCOMPARE(bench.browser.report({{u"musicUserToken"_s, userToken}}).status, 204);

        QCOMPARE(QCoro::waitFor(std::move(first)), Status::authorized);
        QCOMPARE(QCoro::waitFor(std::move(second)), Status::authorized);
        QCOMPARE(bench.developerTokens.fetches, 1);
        QCOMPARE(bench.keychain->token, userToken);
        QCOMPARE(statusChanges.count(), 1);
        QCOMPARE(bench.request(), Status::authorized);
        QCOMPARE(bench.browser.openings, 1);
        const QString log = loggedMessages.join(u'\n');
        for (const QString &secret : {developerToken, userToken, state})
            QVERIFY2(!log.contains(secret), qPrintable(log));
    }

    void declineStandsUntilExplicitSignIn()
    {
        QTemporaryDir folder;
        const QString settingsFile = folder.filePath(u"Airnote.conf"_s);
        {
            SignInBench bench(settingsFile);
            auto asked = bench.authorization.request();
            QTRY_COMPARE(bench.browser.openings, 1);
            bench.browser.report({{u"declined"_s, true}});
            QCOMPARE(QCoro::waitFor(std::move(asked)), Status::denied);
            QCOMPARE(bench.request(), Status::denied);
            QCOMPARE(bench.browser.openings, 1);
        }

        SignInBench restarted(settingsFile);
        QCOMPARE(restarted.authorization.currentStatus(), Status::denied);
        QCOMPARE(restarted.request(), Status::denied);
        QCOMPARE(restarted.browser.openings, 0);

        restarted.authorization.signIn();
        QTRY_COMPARE(restarted.browser.openings, 1);
        restarted.browser.report({{u"musicUserToken"_s, userToken}});
        QTRY_COMPARE(restarted.authorization.currentStatus(), Status::authorized);
        QCOMPARE(restarted.keychain->token, userToken);
        QVERIFY(!QSettings(settingsFile, QSettings::IniFormat).contains(u"musicSignInDeclined"_s));
    }

    void unfinishedSignInWaitsForTheListener_data()
    {
        QTest::addColumn<QJsonObject>("report");  // empty: the tab is closed and the sign-in times out
        QTest::newRow("tab closed") << QJsonObject();
        QTest::newRow("page failed") << QJsonObject{{u"error"_s, u"MusicKit introuvable"_s}};
    }

    void unfinishedSignInWaitsForTheListener()
    {
        QFETCH(QJsonObject, report);
        QTemporaryDir folder;
        const QString settingsFile = folder.filePath(u"Airnote.conf"_s);
        {
            SignInBench bench(settingsFile, report.isEmpty() ? 20ms : 5min);
            auto asked = bench.authorization.request();
            QTRY_COMPARE(bench.browser.openings, 1);
            if (!report.isEmpty())
                bench.browser.report(report);
            QCOMPARE(QCoro::waitFor(std::move(asked)), Status::notDetermined);
            QCOMPARE(bench.request(), Status::notDetermined);
            QCOMPARE(bench.browser.openings, 1);
        }

        // The next run of the program offers the sign-in once more.
        SignInBench restarted(settingsFile, 20ms);
        QCOMPARE(restarted.request(), Status::notDetermined);
        QCOMPARE(restarted.browser.openings, 1);
    }

    void signInWithoutDeveloperTokenOpensNothing()
    {
        loggedMessages.clear();
        QTemporaryDir folder;
        SignInBench bench(folder.filePath(u"Airnote.conf"_s));
        bench.developerTokens.available = false;

        QCOMPARE(bench.request(), Status::notDetermined);
        QCOMPARE(bench.browser.openings, 0);
        QCOMPARE(loggedMessages,
                 QStringList{u"Apple Music sign-in needs a developer token: Token Apple Music indisponible : réseau : refused"_s});

        // The token backend may come back: the next request tries again.
        bench.developerTokens.available = true;
        auto asked = bench.authorization.request();
        QTRY_COMPARE(bench.browser.openings, 1);
        bench.browser.report({{u"declined"_s, true}});
        QCOMPARE(QCoro::waitFor(std::move(asked)), Status::denied);
    }

    void lockedKeychainKeepsTheProgramGoing()
    {
        loggedMessages.clear();
        QTemporaryDir folder;
        SignInBench bench(folder.filePath(u"Airnote.conf"_s));
        bench.keychain->reachable = false;

        QCOMPARE(bench.request(), Status::notDetermined);
        QCOMPARE(bench.browser.openings, 0);
        QCOMPARE(loggedMessages, QStringList{u"Apple Music user token unavailable: The system keychain is locked"_s});

        bench.keychain->reachable = true;
        auto asked = bench.authorization.request();
        QTRY_COMPARE(bench.browser.openings, 1);
        bench.keychain->reachable = false;
        bench.browser.report({{u"musicUserToken"_s, userToken}});
        QCOMPARE(QCoro::waitFor(std::move(asked)), Status::notDetermined);
        QCOMPARE(loggedMessages.last(), u"Apple Music sign-in could not be kept: The system keychain is locked"_s);
        QVERIFY(!loggedMessages.join(u'\n').contains(userToken));
    }

    void signOutKeepsTheBrowserClosed()
    {
        QTemporaryDir folder;
        SignInBench bench(folder.filePath(u"Airnote.conf"_s));
        bench.keychain->token = userToken;
        QCOMPARE(bench.request(), Status::authorized);

        bench.authorization.signOut();

        QTRY_COMPARE(bench.authorization.currentStatus(), Status::notDetermined);
        QCOMPARE(bench.keychain->token, QString());
        QCOMPARE(bench.request(), Status::notDetermined);
        QCOMPARE(bench.browser.openings, 0);
    }
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "tst_platform.moc"
