// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "fakes/LoopbackHttpServer.h"
#include "platform/WakeSource.h"
#include "station/FIPMetadataService.h"
#include "station/ParseError.h"
#include "support/Fixtures.h"

#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace airnote;
using namespace airnote::fakes;
using airnote::testing::fixture;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString imageBase = u"https://covers.example.org"_s;
const QByteArray missingNow = R"({"prev": [], "next": []})";
const QByteArray live = testing::fixture(u"station-live.json"_s);

// "artist|title|artwork|start|end|music", the image host shortened to "~" and
// a start inside [parsedFrom, parsedUntil] written "now".
QString describe(const FIPTrack &track, const QDateTime &parsedFrom, const QDateTime &parsedUntil)
{
    const bool startedNow = track.startedAt >= parsedFrom && track.startedAt <= parsedUntil;
    return QStringList{
        track.artist,
        track.title,
        track.artworkURL ? track.artworkURL->toString().replace(imageBase, "~"_L1) : u"-"_s,
        startedNow ? u"now"_s : QString::number(track.startedAt.toSecsSinceEpoch()),
        track.endsAt ? QString::number(track.endsAt->toSecsSinceEpoch()) : u"-"_s,
        track.isMusicTrack ? u"music"_s : u"segment"_s,
    }.join(u'|');
}

// A poller on a loopback station replying by a script over the request number
// (from 1), and the log of every wait it starts with the state the poll before left.
struct StationRig
{
    explicit StationRig(std::function<HttpReply(qsizetype)> script, std::chrono::milliseconds transferTimeout = 10s)
        : service(std::make_unique<FIPMetadataService>(&session, &wakeSource,
                                                       (server.listen(), server.url(u"/livemeta/live/7/webrf_fip_player"_s))))
    {
        server.setHandler([this, script](const HttpRequest &) { return script(server.requests().size()); });
        session.setTransferTimeout(int(transferTimeout.count()));
        QObject::connect(service.get(), &FIPMetadataService::waitStarted, service.get(), [this](qint64 seconds) {
            waits.append(u"%1s failures=%2 %3"_s.arg(seconds).arg(service->consecutiveFailures()).arg(state()));
        });
    }

    QString state() const { return (service->isReachable() ? "up"_L1 : "down"_L1) + (service->hasCurrent() ? " track"_L1 : ""_L1); }

    LoopbackHttpServer server;
    QNetworkAccessManager session;
    WakeSource wakeSource;
    std::unique_ptr<FIPMetadataService> service;
    QStringList waits;
};

QCoro::Task<> awaitWait(CancellableWait *wait, std::chrono::milliseconds duration, bool *resumed)
{
    auto waiting = wait->wait(duration);
    co_await waiting;
    *resumed = true;
}

} // namespace

class StationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // The endpoints read it once, so before any cover address is built.
        qputenv("AIRNOTE_IMAGE_BASE", imageBase.toUtf8());
    }

    void parsePayloadFollowsTheTable_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");  // a described track, or the error message ("...: " = prefix)

        const QString decodeFailed = u"decode failed: "_s;
        QTest::newRow("live song") << live
            << u"Mira & Sol|Harbour Lights|~/pikapi/images/9f4d2b6e-1c3a-4e8b-b2d7-6a5c4e3f2a10/400x400|1795000000|1795000300|music"_s;
        QTest::newRow("segment, nulls") << fixture(u"station-segment.json"_s)
            << u"La radio la plus éclectique du monde|Le direct|~/pikapi/images/0b7c1f52-8d1e-4f0a-9a55-2a61f0d2c001/400x400|now|-|segment"_s;
        QTest::newRow("unicode blanks") << QByteArray(R"({"now": {"firstLine": "\u00a0\u2003A  B\u2028\t", "secondLine": "\r\nC\u0085"}})")
                                        << u"C|A  B|-|now|-|segment"_s;
        QTest::newRow("empty songUuid") << QByteArray(R"({"now": {"songUuid": ""}})") << u"||-|now|-|music"_s;
        QTest::newRow("blank cover") << QByteArray(R"({"now": {"cover": " "}})") << u"||-|now|-|segment"_s;
        QTest::newRow("unknown keys") << QByteArray(R"({"x": 1, "now": {"firstLine": "T", "y": {"a": [1]}, "startTime": 0}})")
                                      << u"|T|-|0|-|segment"_s;
        QTest::newRow("not JSON") << QByteArray("<html>busy</html>") << decodeFailed;
        QTest::newRow("array") << QByteArray("[]") << decodeFailed;
        QTest::newRow("now a string") << QByteArray(R"({"now": "x"})") << decodeFailed;
        QTest::newRow("firstLine number") << QByteArray(R"({"now": {"firstLine": 7}})") << decodeFailed;
        QTest::newRow("null now") << QByteArray(R"({"now": null})") << u"missing 'now' object"_s;
    }

    void parsePayloadFollowsTheTable()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);

        const QDateTime before = QDateTime::currentDateTimeUtc();
        try {
            const FIPTrack track = parsePayload(body);
            QCOMPARE(describe(track, before, QDateTime::currentDateTimeUtc()), expected);
        } catch (const ParseError &error) {
            QVERIFY2(expected.endsWith(": "_L1) ? error.message().startsWith(expected) : error.message() == expected,
                     qPrintable(error.message()));
        }
    }

    void pollerCadenceFollowsFailures_data()
    {
        QTest::addColumn<HttpReply>("failure");
        QTest::addColumn<QString>("logged");

        const QString badResponse = u"Poll failed: bad server response"_s;
        QTest::newRow("500") << HttpReply::json(500, live) << badResponse;
        QTest::newRow("no now") << HttpReply::json(200, missingNow)
                                << u"Poll failed: malformed station document: missing 'now' object"_s;
        QTest::newRow("body over the cap") << HttpReply::json(200, QByteArray(5 << 20, ' '))
                                           << u"Poll failed: réponse trop volumineuse : plus de 4 Mo"_s;
    }

    void pollerCadenceFollowsFailures()
    {
        QFETCH(HttpReply, failure);
        QFETCH(QString, logged);

        // One success, five failures with a wake during the 60 s wait, one success,
        // then a request left hanging, which destroying the poller aborts.
        StationRig rig([&](qsizetype request) {
            if (request > 7)
                return HttpReply::hangForever();
            return request >= 2 && request <= 6 ? failure : HttpReply::json(200, live);
        });
        connect(rig.service.get(), &FIPMetadataService::waitStarted, this, [&](qint64 seconds) {
            if (seconds != 60)
                return;
            Q_EMIT rig.wakeSource.woke();
            rig.waits.append(u"woke failures=%1 %2 waiting=%3"_s.arg(rig.service->consecutiveFailures())
                                 .arg(rig.state()).arg(rig.service->isWaiting()));
        });
        QSignalSpy published(rig.service.get(), &FIPMetadataService::currentChanged);
        QTest::ignoreMessage(QtInfoMsg, "Wake detected — resetting failure counter");
        for (int failure = 0; failure < 5; ++failure)
            QTest::ignoreMessage(QtCriticalMsg, qPrintable(logged));

        rig.service->setWaitUnit(1ms);
        rig.service->start();
        QTRY_COMPARE(rig.server.requests().size(), 8);

        QCOMPARE(rig.waits, (QStringList{u"5s failures=0 up track"_s, u"5s failures=1 up track"_s,
                                         u"5s failures=2 up track"_s, u"30s failures=3 down track"_s,
                                         u"60s failures=4 down track"_s, u"woke failures=0 down track waiting=1"_s,
                                         u"5s failures=1 down track"_s, u"5s failures=0 up track"_s}));
        QCOMPARE(published.count(), 2);
        QVERIFY(rig.service->property("current").value<FIPTrack>() == parsePayload(live));

        QSignalSpy finished(&rig.session, &QNetworkAccessManager::finished);
        rig.service.reset();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished[0][0].value<QNetworkReply *>()->error(), QNetworkReply::OperationCanceledError);
    }

    void pollsOneRequestAtATime()
    {
        // The first request hangs until the transfer timeout; the others answer.
        StationRig rig([&](qsizetype request) { return request == 1 ? HttpReply::hangForever() : HttpReply::json(200, live); },
                       300ms);
        rig.service->setWaitUnit(1min);
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"^Poll failed: .+"_s));

        rig.service->start();
        QVERIFY(rig.service->isFetching());
        rig.service->start();
        QTRY_COMPARE(rig.server.requests().size(), 1);
        // No wait to cut yet: the request goes on until the transfer timeout.
        rig.service->cutWaitShort();
        QTRY_COMPARE(rig.service->consecutiveFailures(), 1);
        QVERIFY(!rig.service->isFetching());
        QVERIFY(rig.service->isWaiting());
        rig.service->start();

        QSignalSpy waitingChanges(rig.service.get(), &FIPMetadataService::isWaitingChanged);
        rig.service->cutWaitShort();
        QVERIFY(!rig.service->isWaiting());
        QCOMPARE(waitingChanges.count(), 1);
        QTRY_COMPARE(rig.waits, (QStringList{u"5s failures=1 up"_s, u"5s failures=0 up track"_s}));
        QCOMPARE(rig.server.requests().size(), 2);
    }

    // Choosing another station forgets the old one's state and polls the new
    // one at once, whether the poller was waiting or a request was under way.
    void followsTheChosenStation_data()
    {
        QTest::addColumn<bool>("requestHangs");
        QTest::newRow("while waiting") << false;
        QTest::newRow("while a request hangs") << true;
    }

    void followsTheChosenStation()
    {
        QFETCH(bool, requestHangs);
        StationRig rig([&](qsizetype request) {
            return requestHangs && request == 1 ? HttpReply::hangForever() : HttpReply::json(200, live);
        });
        rig.service->setWaitUnit(1min);
        rig.service->start();
        if (requestHangs)
            QTRY_COMPARE(rig.server.requests().size(), 1);
        else
            QTRY_VERIFY(rig.service->isWaiting());

        rig.service->follow(*stationWithKey(u"fipjazz"_s));
        QSignalSpy failureCounts(rig.service.get(), &FIPMetadataService::consecutiveFailuresChanged);
        QVERIFY(!rig.service->hasCurrent());
        QTRY_VERIFY(rig.service->hasCurrent());
        QCOMPARE(rig.server.requests().size(), 2);
        QCOMPARE(rig.server.requests().last().path, u"/livemeta/live/65/webrf_fip_player"_s);
        QCOMPARE(rig.service->current()->webradio, std::optional(u"FIP Jazz"_s));
        // The answer dropped for the station left counts as no failure.
        QCOMPARE(failureCounts.size(), 0);
    }

    void waitEndsOnceWhereItShould_data()
    {
        QTest::addColumn<QString>("ending");

        QTest::newRow("cancel") << u"cancel"_s;
        QTest::newRow("finish now") << u"finishNow"_s;
        QTest::newRow("timeout") << u"timeout"_s;
    }

    void waitEndsOnceWhereItShould()
    {
        QFETCH(QString, ending);

        CancellableWait wait;
        QSignalSpy ended(&wait, &CancellableWait::ended);
        bool resumed = false;
        awaitWait(&wait, ending == "timeout"_L1 ? 1ms : 1min, &resumed);
        QVERIFY(wait.isPending());

        if (ending == "cancel"_L1)
            wait.cancel();
        else if (ending == "finishNow"_L1)
            wait.finishNow();
        // cancel() comes from the panel: the poller must not run inside its call.
        // finishNow() comes from a destructor: the poller must be done when it returns.
        QCOMPARE(resumed, ending == "finishNow"_L1);
        QTRY_VERIFY(resumed);
        QVERIFY(!wait.isPending());
        wait.cancel();
        QCOMPARE(ended.count(), 1);
    }

};

QTEST_GUILESS_MAIN(StationTest)
#include "tst_station.moc"
