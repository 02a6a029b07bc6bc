// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/LogCapture.h"
#include "support/MemoryKeychain.h"
#include "support/WaitFor.h"
#include "core/Error.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "platform/SignInServer.h"
#include "platform/SingleInstance.h"
#include "platform/WebSession.h"
#include "fakes/LoopbackHttpServer.h"

#include <QCoroTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent/QtConcurrentRun>
#include <QUrlQuery>

using namespace airnote;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Status = MusicAuthorization::Status;
using testing::MemoryKeychain;

namespace {

const QString developerToken = u"eyJdev"_s;
const QString userToken = u"music-user-token-Ab12"_s;
const QByteArray musicCategory = "com.velmorin.Airnote.music";

// Plays the system browser: gets the page address from the server and speaks HTTP to it.
struct Browser
{
    SignInServer::BrowserOpener opener()
    {
        return [this](QUrl url) { pageUrl = url; ++openings; };
    }

    QString state() const { return QUrlQuery(pageUrl).queryItemValue(u"state"_s); }
    QByteArray origin() const { return pageUrl.adjusted(QUrl::RemovePath | QUrl::RemoveQuery).toEncoded(); }

    // The reply's status; its body and policy stay for a look. A null origin or content type sends no such header.
    int send(QByteArray method, QString target, QByteArray origin = {}, QByteArray contentType = {}, QByteArray body = {})
    {
        QNetworkRequest request(pageUrl.resolved(QUrl(target)));
        request.setRawHeader("Origin", origin);
        request.setRawHeader("Content-Type", contentType);
        const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(network.sendCustomRequest(request, method, body));
        QSignalSpy(reply.get(), &QNetworkReply::finished).wait();
        lastBody = reply->readAll();
        lastSecurityPolicy = reply->rawHeader("Content-Security-Policy");
        return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }

    int report(QJsonObject outcome)
    {
        outcome.insert(u"state", state());
        return send("POST", u"/callback"_s, origin(), "application/json", QJsonDocument(outcome).toJson());
    }

    QUrl pageUrl;
    int openings = 0;
    QByteArray lastBody;
    QByteArray lastSecurityPolicy;
    QNetworkAccessManager network;
};

// An authorization as the program builds it, over the test browser, the
// in-memory keychain and a settings file.
struct SignInBench
{
    explicit SignInBench(const QString &settingsFile, std::chrono::milliseconds signInTimeout = 5min)
        : userTokens(std::make_unique<MemoryKeychain>())
        , authorization(&userTokens, {settingsFile, browser.opener(), signInTimeout})
    {
        authorization.setDeveloperTokenSource([this] { return fetchDeveloperToken(); });
    }

    Status request() { return testing::waitFor(authorization.request()); }

    Browser browser;
    MusicUserTokenProvider userTokens;
    MusicAuthorization authorization;
    int developerTokenFetches = 0;
    bool developerTokenAvailable = true;

    QCoro::Task<QString> fetchDeveloperToken()
    {
        ++developerTokenFetches;
        co_await QCoro::sleepFor(0ms);
        if (!developerTokenAvailable)
            throw NetworkError(u"Token Apple Music indisponible : réseau : refused"_s);
        co_return developerToken;
    }
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
    }

    void init()
    {
        QFile::remove(settingsFile());
        MemoryKeychain::token.clear();
        MemoryKeychain::reachable = true;
    }

    void servesThePageWithTheTokenInert()
    {
        const QString trickyToken = u"ey\"J</script><script>alert(1)</script>&{{scriptNonce}}"_s;
        SignInServer server;
        Browser browser;
        auto run = server.run(trickyToken, browser.opener());
        QVERIFY(QHostAddress(browser.pageUrl.host()).isLoopback());

        QCOMPARE(browser.send("GET", "/?state="_L1 + browser.state()), 200);

        const QByteArray page = browser.lastBody;
        QVERIFY(!page.contains("</script><script>alert(1)"));
        const QRegularExpression configurationBlock(uR"(<script type="application/json" id="configuration">(.*?)</script>)"_s);
        const QJsonObject configuration =
            QJsonDocument::fromJson(configurationBlock.match(QString::fromUtf8(page)).captured(1).toUtf8()).object();
        QCOMPARE(configuration.value(u"developerToken").toString(), trickyToken);
        QCOMPARE(configuration.value(u"state").toString(), browser.state());

        const QByteArray policy = browser.lastSecurityPolicy;
        const QString nonce = QRegularExpression(u"'nonce-([^']+)'"_s).match(QString::fromLatin1(policy)).captured(1);
        QVERIFY(policy.contains("script-src 'nonce-" + nonce.toLatin1() + "' https://js-cdn.music.apple.com;"));
        // Every script the browser runs must carry the nonce, or the policy blocks it.
        const QRegularExpression scriptTag(uR"(<script(?! type="application/json")[^>]*>)"_s);
        for (const QRegularExpressionMatch &tag : scriptTag.globalMatch(QString::fromUtf8(page)))
            QVERIFY2(tag.captured().contains(u"nonce=\"%1\""_s.arg(nonce)), qPrintable(tag.captured()));
        browser.report({{u"declined"_s, true}});
        testing::waitFor(std::move(run));
    }

    void followsRedirectsWithinThePolicy_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("credentials");
        QTest::addColumn<bool>("followed");
        QTest::newRow("https elsewhere") << u"https://a.example/x"_s << u"https://b.example/y"_s << false << true;
        QTest::newRow("https to http") << u"https://a.example/x"_s << u"http://127.0.0.1/y"_s << false << false;
        QTest::newRow("loopback to remote http") << u"http://127.0.0.1:8000/x"_s << u"http://example.org/y"_s << false << false;
        QTest::newRow("credentials within the origin") << u"https://api.example/x"_s << u"https://api.example/y"_s << true << true;
        QTest::newRow("credentials to another host") << u"https://api.example/x"_s << u"https://cdn.example/y"_s << true << false;
        QTest::newRow("credentials to another port") << u"http://127.0.0.1:8000/x"_s << u"http://127.0.0.1:9000/x"_s << true << false;
    }

    void followsRedirectsWithinThePolicy()
    {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(bool, credentials);
        QFETCH(bool, followed);
        QCOMPARE(WebSession::mayFollowRedirect(QUrl(from), QUrl(from), QUrl(to), credentials), followed);
    }

    // Over loopback: what the policy cuts ends in NetworkError, a refused redirect reaches nobody.
    void cutsTransfersByPolicy_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QString>("error");  // the start of the error; empty: the second server answers
        QTest::newRow("redirect elsewhere, with tokens") << u"tokens"_s << u"redirection refusée vers http://127.0.0.1:"_s;
        QTest::newRow("redirect elsewhere, no tokens") << u"plain"_s << QString();
        QTest::newRow("redirect to a remote plain http host") << u"remote"_s << u"redirection refusée vers http://example.org"_s;
        QTest::newRow("body over the cap") << u"huge"_s << u"réponse trop volumineuse"_s;
        QTest::newRow("body over the cap, length not said") << u"hugeUndeclared"_s << u"réponse trop volumineuse"_s;
        QTest::newRow("body trickled past the deadline") << u"trickle"_s << u"délai dépassé"_s;
    }

    void cutsTransfersByPolicy()
    {
        QFETCH(QString, scenario);
        QFETCH(QString, error);
        fakes::LoopbackHttpServer first;
        fakes::LoopbackHttpServer second;
        QVERIFY(first.listen() && second.listen());
        second.setHandler([](const auto &) { return fakes::HttpReply::json(200, "{}"); });
        const QByteArray huge(WebSession::documentCap + 1, ' ');
        first.setHandler([&](const auto &) {
            if (scenario == "remote"_L1)
                return fakes::HttpReply::redirect(QUrl(u"http://example.org/live"_s));
            if (scenario.startsWith("huge"_L1))
                return fakes::HttpReply{.body = huge, .declaresLength = scenario == "huge"_L1};
            if (scenario == "trickle"_L1)
                return fakes::HttpReply{.body = QByteArray(100, ' '), .trickle = 50ms};
            return fakes::HttpReply::redirect(second.url(u"/elsewhere"_s));
        });
        QNetworkAccessManager manager;
        manager.setTransferTimeout(500);
        WebSession web(&manager);
        QNetworkRequest request(first.url(u"/start"_s));
        if (scenario == "tokens"_L1) {
            request.setRawHeader("Authorization", "Bearer developer");
            request.setRawHeader("Music-User-Token", "listener");
        }
        QString failure;
        try {
            QCOMPARE(testing::waitFor(web.send(WebRequest(request))).statusCode, std::optional(200));
        } catch (const NetworkError &networkError) {
            failure = networkError.localizedDescription();
        }
        QVERIFY2(error.isEmpty() ? failure.isEmpty() : failure.startsWith(error), qPrintable(failure));
        QCOMPARE(second.requests().size(), scenario == "plain"_L1 ? 1 : 0);
    }

    void refusesWhatIsNotTheSignIn_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("origin");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("expectedStatus");

        // {state}, {origin} and {port} stand for the sign-in's own values.
        const auto row = [](const char *name, QByteArray method, QString target, QByteArray origin, QByteArray contentType,
                            QByteArray body, int status) { QTest::newRow(name) << method << target << origin << contentType << body << status; };
        const QByteArray json = "application/json";
        const QByteArray valid = R"({"state":"{state}","musicUserToken":"stolen"})";
        row("page with a wrong state", "GET", u"/?state=guess"_s, {}, {}, {}, 403);
        row("page by POST", "POST", u"/?state={state}"_s, "{origin}", json, valid, 405);
        row("page under a rebound name", "GET", u"http://localhost:{port}/?state={state}"_s, {}, {}, {}, 403);
        row("callback with a wrong state", "POST", u"/callback"_s, "{origin}", json, R"({"state":"guess","musicUserToken":"x"})", 403);
        row("callback from another port", "POST", u"/callback"_s, "http://127.0.0.1:1", json, valid, 403);
        row("callback without origin", "POST", u"/callback"_s, {}, json, valid, 403);
        row("callback as plain text", "POST", u"/callback"_s, "{origin}", "text/plain", valid, 415);
        row("callback without outcome", "POST", u"/callback"_s, "{origin}", json, R"({"state":"{state}"})", 400);
    }

    void refusesWhatIsNotTheSignIn()
    {
        QFETCH(QByteArray, method);
        QFETCH(QString, target);
        QFETCH(QByteArray, origin);
        QFETCH(QByteArray, contentType);
        QFETCH(QByteArray, body);
        QFETCH(int, expectedStatus);
        SignInServer server;
        Browser browser;
        auto run = server.run(developerToken, browser.opener());
        target.replace(u"{state}"_s, browser.state()).replace(u"{port}"_s, QString::number(browser.pageUrl.port()));

        QCOMPARE(browser.send(method, target, origin.replace("{origin}", browser.origin()), contentType,
                              body.replace("{state}", browser.state().toLatin1())),
                 expectedStatus);
        // A refused request leaves the sign-in open for the real page.
        QCOMPARE(browser.report({{u"musicUserToken"_s, userToken}}), 204);
        QCOMPARE(testing::waitFor(std::move(run)).musicUserToken, userToken);
    }

    void handsActionsToTheRunningInstance()
    {
        SingleInstance later(m_folder.path());
        // What a crashed instance leaves behind: a socket path nobody answers.
        QFile leftover(later.socketName());
        QVERIFY(leftover.open(QIODevice::WriteOnly));
        leftover.close();
        QVERIFY(!later.sendToRunningInstance(u"save"_s));

        SingleInstance running(m_folder.path());
        QCOMPARE(running.claim(), SingleInstance::Claim::listening);
        QCOMPARE(later.claim(), SingleInstance::Claim::heldElsewhere);
        QSignalSpy received(&running, &SingleInstance::actionReceived);
        // The sender blocks on its acknowledgement, so it runs on its own thread here.
        auto sent = QtConcurrent::run([&later] { return later.sendToRunningInstance(u"save"_s); });
        QTRY_COMPARE(received.count(), 1);
        QCOMPARE(received.at(0).at(0).toString(), u"save"_s);
        QVERIFY(sent.result());
    }

    void outcomeStandsUntilTheNextRun_data()
    {
        QTest::addColumn<QJsonObject>("report");  // empty: the tab is closed and the sign-in times out
        QTest::addColumn<bool>("keychainLocksMeanwhile");
        QTest::addColumn<Status>("expected");
        QTest::addColumn<QString>("expectedLog");
        const QJsonObject authorized{{u"musicUserToken"_s, userToken}};
        QTest::newRow("authorized") << authorized << false << Status::authorized << u"Apple Music sign-in authorized"_s;
        QTest::newRow("declined") << QJsonObject{{u"declined"_s, true}} << false << Status::denied << u"Apple Music sign-in declined"_s;
        QTest::newRow("tab closed") << QJsonObject() << false << Status::notDetermined << u"Apple Music sign-in timed out"_s;
        QTest::newRow("page failed") << QJsonObject{{u"error"_s, u"MusicKit introuvable"_s}} << false << Status::notDetermined
                                     << u"Apple Music sign-in failed: Connexion à Apple Music impossible : MusicKit introuvable"_s;
        QTest::newRow("token not kept") << authorized << true << Status::notDetermined
                                        << u"Apple Music sign-in could not be kept: The system keychain is locked"_s;
    }

    void outcomeStandsUntilTheNextRun()
    {
        QFETCH(QJsonObject, report);
        QFETCH(bool, keychainLocksMeanwhile);
        QFETCH(Status, expected);
        QFETCH(QString, expectedLog);
        {
            testing::LogCapture log;
            SignInBench bench(settingsFile(), report.isEmpty() ? 20ms : 5min);
            // Both start before the keychain answers; they share one sign-in.
            auto first = bench.authorization.request();
            auto second = bench.authorization.request();
            QTRY_COMPARE(bench.browser.openings, 1);
            const QString state = bench.browser.state();
            MemoryKeychain::reachable = !keychainLocksMeanwhile;
            if (!report.isEmpty())
                QCOMPARE(bench.browser.report(report), 204);
            QCOMPARE(testing::waitFor(std::move(first)), expected);
            QCOMPARE(testing::waitFor(std::move(second)), expected);
            QCOMPARE(bench.developerTokenFetches, 1);
            QCOMPARE(log.messagesOf(musicCategory).last(), expectedLog);
            for (const QString &secret : {developerToken, userToken, state})
                QVERIFY2(!log.lines().join(u'\n').contains(secret), qPrintable(secret));

            QVERIFY(bench.browser.report({{u"musicUserToken"_s, u"second"_s}}) != 204);
            MemoryKeychain::reachable = true;
            QCOMPARE(bench.request(), expected);
            QCOMPARE(bench.browser.openings, 1);
        }
        // The next run of the program offers the sign-in again only when nothing was decided.
        SignInBench nextRun(settingsFile(), 20ms);
        QCOMPARE(nextRun.request(), expected);
        QCOMPARE(nextRun.browser.openings, expected == Status::notDetermined ? 1 : 0);
    }

    void failureBeforeTheBrowserOpensNothing_data()
    {
        QTest::addColumn<bool>("keychainLocked");
        QTest::addColumn<QString>("log");
        QTest::newRow("no developer token")
            << false << u"Apple Music sign-in needs a developer token: Token Apple Music indisponible : réseau : refused"_s;
        QTest::newRow("locked keychain") << true << u"Apple Music user token unavailable: The system keychain is locked"_s;
    }

    void failureBeforeTheBrowserOpensNothing()
    {
        QFETCH(bool, keychainLocked);
        QFETCH(QString, log);
        testing::LogCapture capture;
        SignInBench bench(settingsFile());
        MemoryKeychain::reachable = !keychainLocked;
        bench.developerTokenAvailable = keychainLocked;

        QCOMPARE(bench.request(), Status::notDetermined);
        QCOMPARE(bench.browser.openings, 0);
        QCOMPARE(capture.messagesOf(musicCategory), QStringList{log});
    }

    void signOutStandsUntilExplicitSignIn()
    {
        MemoryKeychain::token = userToken;
        SignInBench bench(settingsFile());
        QCOMPARE(bench.request(), Status::authorized);
        bench.authorization.signOut();
        QTRY_COMPARE(bench.authorization.currentStatus(), Status::notDetermined);
        QCOMPARE(MemoryKeychain::token, QString());

        SignInBench nextRun(settingsFile());
        QCOMPARE(nextRun.request(), Status::denied);
        QCOMPARE(nextRun.browser.openings, 0);
        nextRun.authorization.signIn();
        QTRY_COMPARE(nextRun.browser.openings, 1);
        nextRun.browser.report({{u"musicUserToken"_s, userToken}});
        QTRY_COMPARE(nextRun.authorization.currentStatus(), Status::authorized);
        QCOMPARE(MemoryKeychain::token, userToken);
        QVERIFY(!QSettings(settingsFile(), QSettings::IniFormat).contains(u"musicSignInDeclined"_s));
    }

private:
    QString settingsFile() const { return m_folder.filePath(u"Airnote.conf"_s); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "tst_platform.moc"
