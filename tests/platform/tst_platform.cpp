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
using fakes::HttpReply;

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
        QVERIFY(m_elsewhere.listen());
        m_elsewhere.setHandler([](const auto &) { return HttpReply::json(200, "{}"); });
    }

    void init()
    {
        QFile::remove(settingsFile());
        MemoryKeychain::token.clear();
        MemoryKeychain::reachable = true;
    }

    // One sign-in probed as a hostile page would, before the real page reports.
    void servesOnlyTheSignInPage()
    {
        const QString trickyToken = u"ey\"J</script><script>alert(1)</script>&{{scriptNonce}}"_s;
        SignInServer server;
        Browser browser;
        auto run = server.run(trickyToken, browser.opener());
        QVERIFY(QHostAddress(browser.pageUrl.host()).isLoopback());
        const QString pagePath = "/?state="_L1 + browser.state();

        QCOMPARE(browser.send("GET", pagePath), 200);
        const QString page = QString::fromUtf8(browser.lastBody);
        const QRegularExpression configurationBlock(uR"(<script type="application/json" id="configuration">(.*?)</script>)"_s);
        const QJsonObject configuration = QJsonDocument::fromJson(configurationBlock.match(page).captured(1).toUtf8()).object();
        QCOMPARE(configuration.value(u"developerToken").toString(), trickyToken);
        QCOMPARE(configuration.value(u"state").toString(), browser.state());
        const QString nonce = QRegularExpression(u"'nonce-([^']+)'"_s).match(QString::fromLatin1(browser.lastSecurityPolicy)).captured(1);
        QVERIFY(browser.lastSecurityPolicy.contains("script-src 'nonce-" + nonce.toLatin1() + "' https://js-cdn.music.apple.com;"));
        // Every script the browser runs must carry the nonce, or the policy blocks it.
        const QRegularExpression scriptTag(uR"(<script(?! type="application/json")[^>]*>)"_s);
        for (const QRegularExpressionMatch &tag : scriptTag.globalMatch(page))
            QVERIFY2(tag.captured().contains(u"nonce=\"%1\""_s.arg(nonce)), qPrintable(tag.captured()));

        const QByteArray json = "application/json";
        const QByteArray stolen = QJsonDocument(QJsonObject{{u"state"_s, browser.state()}, {u"musicUserToken"_s, u"stolen"_s}}).toJson();
        QCOMPARE(browser.send("GET", u"/?state=guess"_s), 403);
        QCOMPARE(browser.send("POST", pagePath, browser.origin(), json, stolen), 405);
        // The page under a name rebound to loopback.
        QCOMPARE(browser.send("GET", u"http://localhost:%1%2"_s.arg(browser.pageUrl.port()).arg(pagePath)), 403);
        QCOMPARE(browser.send("POST", u"/callback"_s, browser.origin(), json, R"({"state":"guess","musicUserToken":"x"})"), 403);
        QCOMPARE(browser.send("POST", u"/callback"_s, "http://127.0.0.1:1", json, stolen), 403);
        QCOMPARE(browser.send("POST", u"/callback"_s, {}, json, stolen), 403);
        QCOMPARE(browser.send("POST", u"/callback"_s, browser.origin(), "text/plain", stolen), 415);
        QCOMPARE(browser.report({}), 400);  // the state alone, no outcome
        // None of those ended the sign-in.
        QCOMPARE(browser.report({{u"musicUserToken"_s, userToken}}), 204);
        QCOMPARE(testing::waitFor(std::move(run)).musicUserToken, userToken);
    }

    // What loopback cannot show: a step down from https, and credentials kept within their origin.
    void followsRedirectsWithinThePolicy()
    {
        const auto follows = [](const char *from, const char *to, bool credentials) {
            return WebSession::mayFollowRedirect(QUrl(from), QUrl(from), QUrl(to), credentials);
        };
        QVERIFY(!follows("https://a.example/x", "http://127.0.0.1/y", false));
        QVERIFY(follows("https://api.example/x", "https://api.example/y", true));
        QVERIFY(!follows("https://api.example/x", "https://cdn.example/y", true));
    }

    // Over loopback: what the policy cuts ends in NetworkError, a refused redirect reaches nobody.
    void cutsTransfersByPolicy_data()
    {
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<bool>("credentials");
        QTest::addColumn<QString>("error");  // the start of the error; empty: the redirect reaches m_elsewhere
        const auto elsewhere = HttpReply::redirect(m_elsewhere.url(u"/elsewhere"_s));
        QTest::newRow("redirect elsewhere, with a token") << elsewhere << true << u"redirection refusée vers http://127.0.0.1:"_s;
        QTest::newRow("redirect elsewhere, no token") << elsewhere << false << QString();
        QTest::newRow("redirect to remote http")
            << HttpReply::redirect(QUrl(u"http://example.org/"_s)) << false << u"redirection refusée vers http://example.org"_s;
        const HttpReply hugeUndeclared{.body = QByteArray(WebSession::documentCap + 1, ' '), .declaresLength = false};
        QTest::newRow("body over the cap, length not said") << hugeUndeclared << false << u"réponse trop volumineuse"_s;
        QTest::newRow("body trickled") << HttpReply{.body = QByteArray(100, ' '), .trickle = 50ms} << false << u"délai dépassé"_s;
    }

    void cutsTransfersByPolicy()
    {
        QFETCH(HttpReply, reply);
        QFETCH(bool, credentials);
        QFETCH(QString, error);
        fakes::LoopbackHttpServer first;
        QVERIFY(first.listen());
        first.setHandler([&](const auto &) { return reply; });
        m_elsewhere.clearRequests();
        QNetworkAccessManager manager;
        manager.setTransferTimeout(500);
        WebSession web(&manager);
        QNetworkRequest request(first.url(u"/start"_s));
        request.setRawHeader("Music-User-Token", credentials ? "listener" : QByteArray());
        QString failure;
        try {
            QCOMPARE(testing::waitFor(web.send(WebRequest(request))).statusCode, std::optional(200));
        } catch (const NetworkError &networkError) {
            failure = networkError.localizedDescription();
        }
        QVERIFY2(error.isEmpty() ? failure.isEmpty() : failure.startsWith(error), qPrintable(failure));
        QCOMPARE(m_elsewhere.requests().size(), error.isEmpty() ? 1 : 0);
    }

    void handsActionsToTheRunningInstance()
    {
        SingleInstance later(m_folder.path());
        // What a crashed instance leaves behind: a socket path nobody answers.
        QVERIFY(QFile(later.socketName()).open(QIODevice::WriteOnly));
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
            MemoryKeychain::reachable = !keychainLocksMeanwhile;
            if (!report.isEmpty())
                QCOMPARE(bench.browser.report(report), 204);
            QCOMPARE(testing::waitFor(std::move(first)), expected);
            QCOMPARE(testing::waitFor(std::move(second)), expected);
            QCOMPARE(bench.developerTokenFetches, 1);
            QCOMPARE(log.messagesOf(musicCategory).last(), expectedLog);
            for (const QString &secret : {developerToken, userToken, bench.browser.state()})
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

    // A keychain that cannot be read, or no developer token: no sign-in is offered.
    void failureBeforeTheBrowserOpensNothing()
    {
        testing::LogCapture log;
        SignInBench bench(settingsFile());
        MemoryKeychain::reachable = false;
        QCOMPARE(bench.request(), Status::notDetermined);
        MemoryKeychain::reachable = true;
        bench.developerTokenAvailable = false;
        QCOMPARE(bench.request(), Status::notDetermined);
        QCOMPARE(bench.browser.openings, 0);
        QCOMPARE(log.messagesOf(musicCategory),
                 (QStringList{u"Apple Music user token unavailable: The system keychain is locked"_s,
                              u"Apple Music sign-in needs a developer token: Token Apple Music indisponible : réseau : refused"_s}));
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
    fakes::LoopbackHttpServer m_elsewhere;  // where redirects lead
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "tst_platform.moc"
