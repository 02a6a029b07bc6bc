// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "app/UpdateChecker.h"
#include "fakes/LoopbackHttpServer.h"
#include "support/Fixtures.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

#include "core/Coroutines.h"

#include <memory>

using namespace airnote;
using airnote::fakes::HttpReply;
using State = UpdateChecker::State;

class UpdateCheckerTest : public QObject
{
    Q_OBJECT

    fakes::LoopbackHttpServer m_server;
    QNetworkAccessManager m_network;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_server.listen());
    }

    void reportsCheckResult_data()
    {
        QTest::addColumn<int>("status");  // 0: nothing listens at the feed's address; -1: no feed configured
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("runningVersion");
        QTest::addColumn<State>("expectedState");
        QTest::addColumn<QString>("expectedText");
        const QByteArray feed = testing::fixture(QStringLiteral("appcast.xml"));
        QTest::newRow("same, written shorter") << 200 << feed << "1.2" << State::UpToDate << "Airnote est à jour";
        QTest::newRow("newer by number") << 200 << feed << "1.10" << State::UpToDate << "Airnote est à jour";
        // Only 1.10 is for this system, in the sparkle namespace, numbered by its own element
        // over its enclosure's, and highest by number rather than by text.
        QTest::newRow("mixed feed") << 200
            << QByteArray("<rss xmlns:sp=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
                          "<item><enclosure url=\"https://a/9.9\" sp:os=\"macos\" sp:version=\"99\"/></item>"
                          "<item><sp:version>5</sp:version><enclosure url=\"https://a/0.5\" sp:version=\"50\"/></item>"
                          "<item><enclosure url=\"https://a/1.9\" sp:version=\"9\" sp:shortVersionString=\"1.9\"/></item>"
                          "<item><enclosure url=\"https://a/1.10\" sp:version=\"10\" sp:shortVersionString=\"1.10\"/></item>"
                          "<item><enclosure url=\"https://a/4.0\" xmlns:sparkle=\"urn:other\" sparkle:version=\"40\"/></item></channel></rss>")
            << "1.0" << State::UpdateAvailable << "Airnote 1.10 est disponible";
        for (const char *link : {"http://example.org/airnote.deb", "file:///tmp/airnote.deb", "javascript:alert(1)"})
            QTest::addRow("link %s", link) << 200 << QByteArray(feed).replace("https://example.org/airnote/airnote_1.2.0_amd64.deb", link)
                                           << "1.1.0" << State::Failed << "Vérification impossible : lien de téléchargement refusé (https seulement)";
        QTest::newRow("not found") << 404 << feed << "1.1.0" << State::Failed << "Vérification impossible : le serveur a répondu HTTP 404";
        QTest::newRow("malformed") << 200 << QByteArray("<rss><channel><item></channel>") << "1.1.0" << State::Failed
                                   << "Vérification impossible : flux de mises à jour illisible";
        QTest::newRow("unreachable") << 0 << feed << "1.1.0" << State::Failed << "Vérification impossible : ";
        QTest::newRow("no feed") << -1 << feed << "1.1.0" << State::Failed << "Vérification impossible : aucun flux de mises à jour n'est configuré";
    }

    void reportsCheckResult()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, runningVersion);
        QFETCH(State, expectedState);
        QFETCH(QString, expectedText);
        m_server.clearRequests();
        m_server.setHandler([status, body](const auto &) { return HttpReply::text(status, body); });
        QUrl feedURL = status < 0 ? QUrl() : m_server.url(QStringLiteral("/appcast.xml"));
        if (status == 0) {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            feedURL.setPort(closed.serverPort());
        }
        UpdateChecker checker(&m_network, feedURL, runningVersion, UpdateChecker::defaultInterval);
        QSignalSpy announced(&checker, &UpdateChecker::resultReady);
        // The listener's check joins the one start() sent.
        checker.start();
        QCoro::waitFor(checker.checkForUpdates());

        QCOMPARE(checker.state(), expectedState);
        QVERIFY2(checker.message().startsWith(expectedText), qPrintable(checker.message()));
        QCOMPARE(announced.count(), 1);
        QCOMPARE(m_server.requests().size(), status > 0 ? 1 : 0);
        QCOMPARE(checker.downloadURL().isEmpty(), expectedState != State::UpdateAvailable);
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
        m_server.setHandler([](const auto &) { return HttpReply::text(200, testing::fixture(QStringLiteral("appcast.xml"))); });
        UpdateChecker checker(&m_network, m_server.url(QStringLiteral("/appcast.xml")), runningVersion, std::chrono::milliseconds(20));
        QSignalSpy announced(&checker, &UpdateChecker::resultReady);
        QSignalSpy changes(&checker, &UpdateChecker::stateChanged);  // to Checking, then to the outcome
        QUrl announcedDownload;
        connect(&checker, &UpdateChecker::resultReady, this, [&] { announcedDownload = checker.downloadURL(); });
        checker.start();
        QTRY_VERIFY(changes.count() >= 6);

        QCOMPARE(announced.count(), announcesEachCheck ? changes.count() / 2 : 0);
        QCOMPARE(announcedDownload.isValid(), announcesEachCheck);
    }

    void destroyedCheckerAbortsItsCheckQuietly()
    {
        // A server of its own: requests aborted by the tests before may still reach the shared one.
        fakes::LoopbackHttpServer hanging;
        QVERIFY(hanging.listen());
        hanging.setHandler([](const auto &) { return HttpReply::hangForever(); });
        QSignalSpy finished(&m_network, &QNetworkAccessManager::finished);
        auto checker = std::make_unique<UpdateChecker>(&m_network, hanging.url(QStringLiteral("/appcast.xml")),
                                                       QStringLiteral("1.0"), UpdateChecker::defaultInterval);
        QSignalSpy changes(checker.get(), &UpdateChecker::stateChanged);
        checker->start();
        QTRY_COMPARE(hanging.requests().size(), 1);

        checker.reset();
        QCOMPARE(changes.count(), 1);  // Checking, and nothing after
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.constFirst().constFirst().value<QNetworkReply *>()->error(),
                 QNetworkReply::OperationCanceledError);
    }
};

QTEST_GUILESS_MAIN(UpdateCheckerTest)
#include "tst_updates.moc"
