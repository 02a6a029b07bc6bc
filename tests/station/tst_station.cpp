#include "fakes/LoopbackHttpServer.h"
#include "platform/Error.h"
#include "platform/WakeSource.h"
#include "station/FIPMetadataService.h"
#include "station/FIPTrack.h"
#include "station/ParseError.h"
#include "station/StationPayload.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaProperty>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace airnote;
using namespace airnote::fakes;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString imageBase = u"https://covers.example.org"_s;
const QByteArray missingNow = R"({"prev": [], "next": []})";

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(AIRNOTE_FIXTURES_DIR "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

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

FIPTrack sampleTrack()
{
    return FIPTrack{
        .artist = u"Mira & Sol"_s,
        .title = u"Harbour Lights"_s,
        .album = u"Tides"_s,
        .artworkURL = QUrl(imageBase + "/pikapi/images/abc/400x400"_L1),
        .startedAt = QDateTime::fromMSecsSinceEpoch(1795000000123, Qt::UTC),
        .endsAt = QDateTime::fromSecsSinceEpoch(1795000300, Qt::UTC),
        .isMusicTrack = true,
    };
}

QUrl listeningURL(LoopbackHttpServer &server)
{
    server.listen();
    return server.url(u"/livemeta/live/7/webrf_fip_player"_s);
}

// A poller on a loopback station replying by a script over the request number
// (from 1), and the log of every wait it starts with the state the poll before left.
struct StationRig
{
    explicit StationRig(std::function<HttpReply(qsizetype)> script, std::chrono::milliseconds transferTimeout = 10s)
        : service(&session, &wakeSource, listeningURL(server))
    {
        server.setHandler([this, script](const HttpRequest &) { return script(server.requests().size()); });
        session.setTransferTimeout(int(transferTimeout.count()));
        QObject::connect(&service, &FIPMetadataService::waitStarted, &service, [this](qint64 seconds) {
            waits.append(u"%1s failures=%2 %3"_s.arg(seconds).arg(service.consecutiveFailures()).arg(state()));
        });
    }

    QString state() const
    {
        return QLatin1String(service.isReachable() ? "up" : "down") + (service.hasCurrent() ? " track"_L1 : ""_L1);
    }

    LoopbackHttpServer server;
    QNetworkAccessManager session;
    WakeSource wakeSource;
    FIPMetadataService service;
    QStringList waits;
};

} // namespace

class StationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // The endpoints read it once, so before any cover address is built.
        qputenv("AIRNOTE_IMAGE_BASE", imageBase.toUtf8());
    }

    void parsePayloadFollowsTheTable_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");  // a described track, or the error message ("...: " = prefix)

        const QString decodeFailed = u"decode failed: "_s;
        QTest::newRow("live song") << fixture(u"station-live.json"_s)
            << u"Mira & Sol|Harbour Lights|~/pikapi/images/9f4d2b6e-1c3a-4e8b-b2d7-6a5c4e3f2a10/400x400|1795000000|1795000300|music"_s;
        QTest::newRow("segment, nulls") << fixture(u"station-segment.json"_s)
            << u"La radio la plus éclectique du monde|Le direct|~/pikapi/images/0b7c1f52-8d1e-4f0a-9a55-2a61f0d2c001/400x400|now|-|segment"_s;
        QTest::newRow("empty now") << QByteArray(R"({"now": {}})") << u"||-|now|-|segment"_s;
        QTest::newRow("unicode blanks") << QByteArray(R"({"now": {"firstLine": "\u00a0\u2003A  B\u2028\t", "secondLine": "\r\nC\u0085"}})")
                                        << u"C|A  B|-|now|-|segment"_s;
        QTest::newRow("empty songUuid") << QByteArray(R"({"now": {"songUuid": ""}})") << u"||-|now|-|music"_s;
        QTest::newRow("empty cover") << QByteArray(R"({"now": {"cover": ""}})") << u"||-|now|-|segment"_s;
        QTest::newRow("null cover") << QByteArray(R"({"now": {"cover": null}})") << u"||-|now|-|segment"_s;
        QTest::newRow("blank cover") << QByteArray(R"({"now": {"cover": " "}})") << u"||-|now|-|segment"_s;
        QTest::newRow("unknown keys") << QByteArray(R"({"x": 1, "now": {"firstLine": "T", "y": {"a": [1]}, "startTime": 0}})")
                                      << u"|T|-|0|-|segment"_s;
        QTest::newRow("integral decimal") << QByteArray(R"({"now": {"endTime": 1795000000.0}})") << u"||-|now|1795000000|segment"_s;
        QTest::newRow("not JSON") << QByteArray("<html>busy</html>") << decodeFailed;
        QTest::newRow("empty body") << QByteArray() << decodeFailed;
        QTest::newRow("array") << QByteArray("[]") << decodeFailed;
        QTest::newRow("now a string") << QByteArray(R"({"now": "x"})") << decodeFailed;
        QTest::newRow("startTime string") << QByteArray(R"({"now": {"startTime": "1795000000"}})") << decodeFailed;
        QTest::newRow("startTime fraction") << QByteArray(R"({"now": {"startTime": 1795000000.5}})") << decodeFailed;
        QTest::newRow("endTime boolean") << QByteArray(R"({"now": {"endTime": true}})") << decodeFailed;
        QTest::newRow("firstLine number") << QByteArray(R"({"now": {"firstLine": 7}})") << decodeFailed;
        QTest::newRow("songUuid object") << QByteArray(R"({"now": {"songUuid": {}}})") << decodeFailed;
        QTest::newRow("missing now") << missingNow << u"missing 'now' object"_s;
        QTest::newRow("null now") << QByteArray(R"({"now": null})") << u"missing 'now' object"_s;
    }

    void parsePayloadFollowsTheTable()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);

        const QDateTime before = QDateTime::currentDateTimeUtc();
        try {
            const FIPTrack track = parsePayload(body);
            QVERIFY(!track.album);
            QCOMPARE(describe(track, before, QDateTime::currentDateTimeUtc()), expected);
        } catch (const ParseError &error) {
            QCOMPARE(error.kind(), ParseError::Kind::malformed);
            QVERIFY2(expected.endsWith(": "_L1) ? error.message().startsWith(expected) : error.message() == expected,
                     qPrintable(error.message()));
        }
    }

    void parsesWithoutStartTimeDiffer()
    {
        const QByteArray body = fixture(u"station-segment.json"_s);
        const FIPTrack first = parsePayload(body);
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > first.startedAt);
        const FIPTrack second = parsePayload(body);
        QCOMPARE(second.title, first.title);
        QVERIFY(first != second);
    }

    void trackJsonRoundTrip()
    {
        const FIPTrack bare{.title = u"Le direct"_s, .startedAt = QDateTime::fromSecsSinceEpoch(0, Qt::UTC)};
        QCOMPARE(bare.toJson().keys(), (QStringList{u"artist"_s, u"isMusicTrack"_s, u"startedAt"_s, u"title"_s}));
        QCOMPARE(sampleTrack().toJson().keys().size(), 7);
        QCOMPARE(sampleTrack().toJson().value("startedAt"_L1).toString(), u"2026-11-18T11:06:40.123Z"_s);
        for (const FIPTrack &track : {bare, sampleTrack()}) {
            const FIPTrack decoded = FIPTrack::fromJson(track.toJson());
            QVERIFY(decoded == track);
            QCOMPARE(qHash(decoded, 7), qHash(track, 7));
        }
    }

    void trackFromJsonChecksFields_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("accepted");

        QTest::newRow("null optionals") << QByteArray(R"({"artist": "a", "title": "t", "album": null, "artworkURL": null,
            "startedAt": "2026-11-18T10:00:00Z", "endsAt": null, "isMusicTrack": false})") << true;
        QTest::newRow("offset date") << QByteArray(R"({"artist": "a", "title": "t",
            "startedAt": "2026-11-18T12:00:00+02:00", "isMusicTrack": true})") << true;
        QTest::newRow("no artist") << QByteArray(R"({"title": "t", "startedAt": "2026-11-18T10:00:00Z", "isMusicTrack": false})") << false;
        QTest::newRow("flag as text") << QByteArray(R"({"artist": "a", "title": "t",
            "startedAt": "2026-11-18T10:00:00Z", "isMusicTrack": "yes"})") << false;
        QTest::newRow("bad date") << QByteArray(R"({"artist": "a", "title": "t", "startedAt": "yesterday", "isMusicTrack": false})") << false;
    }

    void trackFromJsonChecksFields()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, accepted);

        try {
            const FIPTrack track = FIPTrack::fromJson(QJsonDocument::fromJson(json).object());
            QVERIFY(accepted);
            QCOMPARE(track.startedAt, QDateTime(QDate(2026, 11, 18), QTime(10, 0), Qt::UTC));
            QVERIFY(!track.album && !track.artworkURL && !track.endsAt);
        } catch (const JsonError &error) {
            QVERIFY2(!accepted, qPrintable(error.localizedDescription()));
        }
    }

    void trackEqualityAndHashCoverEveryField()
    {
        const FIPTrack base = sampleTrack();
        QList<FIPTrack> variants{base};
        const auto vary = [&](auto change) {
            FIPTrack track = base;
            change(track);
            variants.append(track);
        };
        vary([](FIPTrack &track) { track.artist += u'x'; });
        vary([](FIPTrack &track) { track.title += u'x'; });
        vary([](FIPTrack &track) { track.album.reset(); });
        vary([](FIPTrack &track) { track.album = QString(); });
        vary([](FIPTrack &track) { track.artworkURL.reset(); });
        vary([](FIPTrack &track) { track.startedAt = track.startedAt.addMSecs(1); });
        vary([](FIPTrack &track) { track.endsAt.reset(); });
        vary([](FIPTrack &track) { track.isMusicTrack = false; });

        for (qsizetype i = 0; i < variants.size(); ++i) {
            const FIPTrack copy = variants.at(i);
            QVERIFY(copy == variants.at(i));
            QCOMPARE(qHash(copy, 1), qHash(variants.at(i), 1));
            for (qsizetype j = i + 1; j < variants.size(); ++j)
                QVERIFY2(variants.at(i) != variants.at(j), qPrintable(u"%1 vs %2"_s.arg(i).arg(j)));
        }
    }

    void trackReadsAsReadOnlyGadget()
    {
        const QMetaObject &meta = FIPTrack::staticMetaObject;
        const auto property = [&](const char *name) { return meta.property(meta.indexOfProperty(name)); };
        for (const char *name : {"artist", "title", "album", "artworkURL", "isMusicTrack"})
            QVERIFY2(property(name).isValid() && !property(name).isWritable(), name);

        const FIPTrack full = sampleTrack();
        const FIPTrack bare;
        QCOMPARE(property("album").readOnGadget(&full).toString(), u"Tides"_s);
        QCOMPARE(property("artworkURL").readOnGadget(&full).toUrl(), *full.artworkURL);
        QCOMPARE(property("album").readOnGadget(&bare), QVariant(QString()));
        QCOMPARE(property("artworkURL").readOnGadget(&bare), QVariant(QUrl()));
    }

    void pollerCadenceFollowsFailures_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("logged");

        const QString badResponse = u"Poll failed: bad server response"_s;
        const QString parseFailure = u"Poll failed: The operation couldn't be completed. (ParseError error 0.)"_s;
        QTest::newRow("404") << 404 << QByteArray("not found") << badResponse;
        QTest::newRow("500") << 500 << fixture(u"station-live.json"_s) << badResponse;
        QTest::newRow("not JSON") << 200 << QByteArray("<html>maintenance</html>") << parseFailure;
        QTest::newRow("no now") << 200 << missingNow << parseFailure;
    }

    void pollerCadenceFollowsFailures()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, logged);

        // One success, four failures, one success, then a request left hanging to end the run.
        const QByteArray live = fixture(u"station-live.json"_s);
        StationRig rig([&](qsizetype request) {
            if (request > 6)
                return HttpReply::hangForever();
            return request >= 2 && request <= 5 ? HttpReply::json(status, body) : HttpReply::json(200, live);
        });
        QSignalSpy published(&rig.service, &FIPMetadataService::currentChanged);
        for (int failure = 0; failure < 4; ++failure)
            QTest::ignoreMessage(QtCriticalMsg, qPrintable(logged));

        rig.service.setWaitUnit(1ms);
        rig.service.start();
        QTRY_COMPARE(rig.server.requests().size(), 7);

        QCOMPARE(rig.waits, (QStringList{u"5s failures=0 up track"_s, u"5s failures=1 up track"_s,
                                         u"5s failures=2 up track"_s, u"30s failures=3 down track"_s,
                                         u"60s failures=4 down track"_s, u"5s failures=0 up track"_s}));
        QCOMPARE(published.count(), 2);
        QVERIFY(rig.service.property("current").value<FIPTrack>() == parsePayload(live));
        QCOMPARE(rig.server.requests().constFirst().method, "GET");
        QCOMPARE(rig.server.requests().constFirst().path, u"/livemeta/live/7/webrf_fip_player"_s);
    }

    void wakeResetsCounterOnly()
    {
        const QByteArray live = fixture(u"station-live.json"_s);
        StationRig rig([&](qsizetype request) {
            if (request > 6)
                return HttpReply::hangForever();
            return request <= 5 ? HttpReply::text(500, "down") : HttpReply::json(200, live);
        });
        connect(&rig.service, &FIPMetadataService::waitStarted, this, [&](qint64 seconds) {
            if (seconds != 60)
                return;
            Q_EMIT rig.wakeSource.woke();
            rig.waits.append(u"woke failures=%1 %2 waiting=%3"_s.arg(rig.service.consecutiveFailures())
                                 .arg(rig.state()).arg(rig.service.isWaiting()));
        });
        QTest::ignoreMessage(QtInfoMsg, "Wake detected — resetting failure counter");
        for (int failure = 0; failure < 5; ++failure)
            QTest::ignoreMessage(QtCriticalMsg, "Poll failed: bad server response");

        rig.service.setWaitUnit(1ms);
        rig.service.start();
        QTRY_COMPARE(rig.server.requests().size(), 7);

        QCOMPARE(rig.waits, (QStringList{u"5s failures=1 up"_s, u"5s failures=2 up"_s, u"30s failures=3 down"_s,
                                         u"60s failures=4 down"_s, u"woke failures=0 down waiting=1"_s,
                                         u"5s failures=1 down"_s, u"5s failures=0 up track"_s}));
    }

    void startIsIdempotentAndCutWaitShortPolls()
    {
        const QByteArray live = fixture(u"station-live.json"_s);
        StationRig rig([&](qsizetype) { return HttpReply::json(200, live); });
        QSignalSpy published(&rig.service, &FIPMetadataService::currentChanged);
        rig.service.setWaitUnit(1min);

        rig.service.start();
        QVERIFY(rig.service.isFetching());
        rig.service.start();
        QTRY_COMPARE(rig.waits.size(), 1);
        QVERIFY(rig.service.isWaiting());
        rig.service.start();

        QSignalSpy waitingChanges(&rig.service, &FIPMetadataService::isWaitingChanged);
        rig.service.cutWaitShort();
        QVERIFY(!rig.service.isWaiting());
        QCOMPARE(waitingChanges.count(), 1);
        QTRY_COMPARE(rig.waits.size(), 2);
        QCOMPARE(rig.server.requests().size(), 2);
        QCOMPARE(published.count(), 2);
    }

    void hangingServerKeepsFetchingUntilTimeout()
    {
        StationRig rig([](qsizetype) { return HttpReply::hangForever(); }, 300ms);
        rig.service.setWaitUnit(1min);
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"^Poll failed: .+"_s));

        rig.service.start();
        QTRY_COMPARE(rig.server.requests().size(), 1);
        QVERIFY(rig.service.isFetching());
        rig.service.cutWaitShort();

        QTRY_COMPARE(rig.service.consecutiveFailures(), 1);
        QVERIFY(!rig.service.isFetching());
        QVERIFY(rig.service.isWaiting());
        QCOMPARE(rig.server.requests().size(), 1);
    }
};

QTEST_GUILESS_MAIN(StationTest)
#include "tst_station.moc"
