#include "app/Appcast.h"
#include "app/UpdateChecker.h"
#include "fakes/LoopbackHttpServer.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

#include <QCoroTask>

using namespace airnote;
using airnote::fakes::HttpReply;
using airnote::fakes::LoopbackHttpServer;
using State = UpdateChecker::State;

namespace {

QByteArray fixtureAppcast()
{
    QFile file(QStringLiteral(AIRNOTE_FIXTURES_DIR "/appcast.xml"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read the appcast fixture");
    return file.readAll();
}

QByteArray appcast(const QByteArray &items)
{
    return R"(<rss xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)" + items
        + "</channel></rss>";
}

QByteArray enclosure(const QByteArray &shortVersion, const QByteArray &attributes)
{
    return R"(<enclosure url="https://example.org/airnote_)" + shortVersion + R"(.deb" )" + attributes + "/>";
}

QByteArray elementItem(const QByteArray &version, const QByteArray &shortVersion, const QByteArray &os = "linux")
{
    return "<item><sparkle:version>" + version + "</sparkle:version><sparkle:shortVersionString>" + shortVersion
        + "</sparkle:shortVersionString>" + enclosure(shortVersion, R"(sparkle:os=")" + os + R"(")") + "</item>";
}

QByteArray attributeItem(const QByteArray &version, const QByteArray &shortVersion)
{
    return "<item>" + enclosure(shortVersion, R"(sparkle:version=")" + version + R"(" sparkle:shortVersionString=")" + shortVersion + R"(")") + "</item>";
}

} // namespace

class UpdateCheckerTest : public QObject
{
    Q_OBJECT

    LoopbackHttpServer m_server;
    QNetworkAccessManager m_network;

    QUrl serveFixture()
    {
        m_server.clearRequests();
        m_server.setHandler([](const auto &) { return HttpReply::text(200, fixtureAppcast()); });
        return m_server.url(QStringLiteral("/appcast.xml"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_server.listen());
    }

    void choosesNewestItem_data()
    {
        QTest::addColumn<QByteArray>("feed");
        QTest::addColumn<QString>("expectedVersion");
        QTest::newRow("fixture") << fixtureAppcast() << "1.2.0";
        QTest::newRow("enclosure form newer") << appcast(elementItem("12", "1.2.0") + attributeItem("13", "1.3.0")) << "1.3.0";
        QTest::newRow("numeric order") << appcast(attributeItem("10", "1.10") + attributeItem("9", "1.9")) << "1.10";
        QTest::newRow("other system ignored") << appcast(elementItem("99", "9.9", "macos") + elementItem("12", "1.2.0")) << "1.2.0";
        QTest::newRow("only other systems") << appcast(elementItem("99", "9.9", "windows")) << QString();
        QTest::newRow("item element beats enclosure attribute")
            << appcast("<item><sparkle:version>5</sparkle:version>" + enclosure("0.5", R"(sparkle:version="50")") + "</item>"
                       + attributeItem("20", "2.0"))
            << "2.0";
        QTest::newRow("namespace, not prefix")
            << QByteArray(R"(<rss xmlns:sp="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)"
                          R"(<item><enclosure url="https://example.org/airnote_3.0.deb" sp:version="30" sp:shortVersionString="3.0"/></item>)"
                          R"(<item><enclosure url="https://example.org/airnote_4.0.deb" xmlns:sparkle="urn:other" sparkle:version="40"/></item>)"
                          R"(</channel></rss>)")
            << "3.0";
    }

    void choosesNewestItem()
    {
        QFETCH(QByteArray, feed);
        QFETCH(QString, expectedVersion);
        const std::optional<AppcastItem> newest = newestItem(parseAppcast(feed));
        QCOMPARE(newest.has_value(), !expectedVersion.isEmpty());
        if (newest) {
            QCOMPARE(newest->displayVersion(), expectedVersion);
            QVERIFY2(newest->downloadURL.toString().contains(expectedVersion), qPrintable(newest->downloadURL.toString()));
        }
    }

    void comparesVersions_data()
    {
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("right");
        QTest::addColumn<int>("expected");
        QTest::newRow("missing component is zero") << "1.2" << "1.2.0" << 0;
        QTest::newRow("first component decides") << "2" << "1.99.99" << 1;
        QTest::newRow("text component") << "1.2.beta" << "1.2.alpha" << 1;
    }

    void comparesVersions()
    {
        QFETCH(QString, left);
        QFETCH(QString, right);
        QFETCH(int, expected);
        QCOMPARE(compareVersions(left, right), expected <=> 0);
        QCOMPARE(compareVersions(right, left), 0 <=> expected);
    }

    void reportsCheckResult_data()
    {
        QTest::addColumn<int>("status");  // 0: nothing listens at the feed's address
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("runningVersion");
        QTest::addColumn<State>("expectedState");
        QTest::addColumn<QString>("expectedText");
        const QByteArray feed = fixtureAppcast();
        QTest::newRow("older") << 200 << feed << "1.1.0" << State::UpdateAvailable << "Airnote 1.2.0 est disponible";
        QTest::newRow("same") << 200 << feed << "1.2.0" << State::UpToDate << "Airnote est à jour";
        QTest::newRow("newer") << 200 << feed << "1.10.0" << State::UpToDate << "Airnote est à jour";
        QTest::newRow("not found") << 404 << feed << "1.1.0" << State::Failed << "Vérification impossible : le serveur a répondu HTTP 404";
        QTest::newRow("malformed") << 200 << QByteArray("<rss><channel><item></channel>") << "1.1.0" << State::Failed
                                   << "Vérification impossible : flux de mises à jour illisible";
        QTest::newRow("unreachable") << 0 << feed << "1.1.0" << State::Failed << "Vérification impossible : ";
    }

    void reportsCheckResult()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, runningVersion);
        QFETCH(State, expectedState);
        QFETCH(QString, expectedText);
        m_server.setHandler([status, body](const auto &) { return HttpReply::text(status, body); });
        QUrl feedURL = m_server.url(QStringLiteral("/appcast.xml"));
        if (status == 0) {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            feedURL.setPort(closed.serverPort());
        }
        UpdateChecker checker(&m_network, feedURL, runningVersion, UpdateChecker::defaultInterval);
        QSignalSpy announced(&checker, &UpdateChecker::resultReady);
        QCoro::waitFor(checker.checkForUpdates());

        QCOMPARE(checker.state(), expectedState);
        QVERIFY2(checker.message().startsWith(expectedText), qPrintable(checker.message()));
        QCOMPARE(announced.count(), 1);
        const bool available = expectedState == State::UpdateAvailable;
        QCOMPARE(checker.downloadURL(), QUrl(available ? "https://example.org/airnote/airnote_1.2.0_amd64.deb" : ""));
        QCOMPARE(checker.releaseNotesURL(), QUrl(available ? "https://example.org/airnote/notes/1.2.0.html" : ""));
    }

    void joinsCheckInFlight()
    {
        UpdateChecker checker(&m_network, serveFixture(), QStringLiteral("1.2.0"), UpdateChecker::defaultInterval);
        QSignalSpy announced(&checker, &UpdateChecker::resultReady);
        checker.start();
        QCOMPARE(checker.state(), State::Checking);
        QCoro::waitFor(checker.checkForUpdates());

        QCOMPARE(checker.state(), State::UpToDate);
        QCOMPARE(m_server.requests().size(), 1);
        QCOMPARE(announced.count(), 1);
    }

    void withoutFeedSendsNothing()
    {
        QSignalSpy transfers(&m_network, &QNetworkAccessManager::finished);
        UpdateChecker checker(&m_network, QUrl(), QStringLiteral("1.0"), std::chrono::milliseconds(1));
        checker.start();
        QCOMPARE(checker.state(), State::Idle);
        QCoro::waitFor(checker.checkForUpdates());

        QCOMPARE(checker.state(), State::Failed);
        QVERIFY2(checker.errorText().contains(QStringLiteral("aucun flux")), qPrintable(checker.errorText()));
        QCOMPARE(transfers.count(), 0);
    }

    void checksOnSchedule_data()
    {
        QTest::addColumn<QString>("runningVersion");
        QTest::addColumn<bool>("announcesEachCheck");
        QTest::newRow("up to date stays quiet") << "1.2.0" << false;
        QTest::newRow("newer version announced") << "1.1.0" << true;
    }

    void checksOnSchedule()
    {
        QFETCH(QString, runningVersion);
        QFETCH(bool, announcesEachCheck);
        UpdateChecker checker(&m_network, serveFixture(), runningVersion, std::chrono::milliseconds(20));
        QSignalSpy announced(&checker, &UpdateChecker::resultReady);
        int finishedChecks = 0;
        connect(&checker, &UpdateChecker::stateChanged, this,
                [&] { finishedChecks += checker.state() == State::Checking ? 0 : 1; });
        checker.start();
        QTRY_VERIFY(finishedChecks >= 3);

        QCOMPARE(announced.count(), announcesEachCheck ? finishedChecks : 0);
        QVERIFY(m_server.requests().size() >= finishedChecks);
    }
};

QTEST_GUILESS_MAIN(UpdateCheckerTest)
#include "tst_updates.moc"
