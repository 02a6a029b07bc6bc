// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/LogCapture.h"
#include "sandbox/Chaos.h"
#include "sandbox/Sandbox.h"
#include "sandbox/Scenario.h"

#include "music/AppleMusicService.h"
#include "core/Error.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "station/StationPayload.h"

#include <QBuffer>
#include "core/Coroutines.h"
#include <QImage>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

using namespace airnote;
using namespace std::chrono_literals;
using fakes::FakeStation;
using sandbox::Chaos;
using sandbox::Sandbox;

namespace {

constexpr int period = 30;

// QCoro::waitFor waits forever on a task that throws: a throw comes back as no outcome.
template<typename T>
QCoro::Task<std::optional<T>> outcome(QCoro::Task<T> task)
{
    try {
        co_return co_await std::move(task);
    } catch (const Error &error) {
        qWarning().noquote() << "threw:" << error.localizedDescription();
        co_return std::nullopt;
    }
}

QCoro::Task<bool> succeeded(QCoro::Task<> task)
{
    try {
        co_await std::move(task);
        co_return true;
    } catch (const Error &error) {
        qWarning().noquote() << "threw:" << error.localizedDescription();
        co_return false;
    }
}

using StationDecision = Chaos::Decision<Chaos::StationReply>;
using MusicDecision = Chaos::Decision<Chaos::MusicReply>;

bool sameReply(const fakes::HttpReply &one, const fakes::HttpReply &other)
{
    return one.status == other.status && one.body == other.body && one.delay == other.delay && one.hang == other.hang;
}

// What the poller makes of a reply: a track, or a failure.
bool pollSucceeds(const fakes::HttpReply &reply)
{
    if (reply.hang || reply.status != 200)
        return false;
    try {
        parsePayload(reply.body);
        return true;
    } catch (const Error &) {
        return false;
    }
}

} // namespace

class TestSandbox : public QObject
{
    Q_OBJECT

private:
    // The body of a 200 reply; empty otherwise.
    QByteArray get(const QUrl &url)
    {
        const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(m_session.get(QNetworkRequest(url)));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        if (!finished.wait(10'000) || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200)
            return {};
        return reply->readAll();
    }
    FIPTrack trackOnAir(int elapsedSeconds)
    {
        m_now = m_firstStart.addSecs(elapsedSeconds);
        return parsePayload(get(m_sandbox->station().liveURL()));
    }
    QList<CatalogMatch> search(const FIPTrack &track)
    {
        const auto matches = QCoro::waitFor(outcome(m_service->searchMatches(track.artist, track.title)));
        return matches.value_or(QList<CatalogMatch>{});
    }
    static void seedRows()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : {0u, 7u, 2026u, 4294967295u})
            QTest::addRow("%u", seed) << seed;
    }
    static QProcess *startSandbox(const QStringList &arguments)
    {
        auto *process = new QProcess;
        process->start(QStringLiteral(AIRNOTE_SANDBOX_PROGRAM), arguments);
        return process;
    }

    QDateTime m_firstStart = QDateTime(QDate(2026, 3, 14), QTime(21, 0), Qt::UTC);
    QDateTime m_now = m_firstStart;
    QNetworkAccessManager m_session;
    QTemporaryDir m_directory;
    std::unique_ptr<Sandbox> m_sandbox;
    std::unique_ptr<MusicUserTokenProvider> m_userTokens;
    std::unique_ptr<MusicAuthorization> m_authorization;
    std::unique_ptr<AppleMusicService> m_service;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/airnote-test-bus");
        m_sandbox = std::make_unique<Sandbox>(FakeStation::Schedule{.period = std::chrono::seconds(period),
                                                                    .clock = [this] { return m_now; }});
        QVERIFY(m_sandbox->listen());
        // Airnote's own services find the sandbox through the variables it prints.
        for (const auto &[name, value] : m_sandbox->environment())
            qputenv(name.constData(), value.toUtf8());
        m_userTokens = std::make_unique<MusicUserTokenProvider>();
        m_authorization = std::make_unique<MusicAuthorization>(m_userTokens.get());
        m_service = std::make_unique<AppleMusicService>(
            &m_session, m_authorization.get(), m_userTokens.get(),
            AppleMusicService::Configuration{.settingsFile = m_directory.filePath(QStringLiteral("Airnote.conf"))});
        const auto status = QCoro::waitFor(outcome(m_authorization->request()));
        QCOMPARE(status, std::optional(MusicAuthorization::Status::authorized));
        m_service->setAuthStatus(*status);
    }

    void liveDocumentFollowsTheClock_data()
    {
        QTest::addColumn<int>("elapsed");
        QTest::addColumn<int>("index");
        const int loop = static_cast<int>(sandbox::programme().size()) * period;
        QTest::newRow("first item at start") << 0 << 0;
        QTest::newRow("first item until its end") << period - 1 << 0;
        QTest::newRow("second item after one period") << period << 1;
        QTest::newRow("fourth item mid-period") << 3 * period + period / 2 << 3;
        QTest::newRow("programme loops") << loop + 1 << 0;
        QTest::newRow("last item before looping") << loop - 1 << static_cast<int>(sandbox::programme().size()) - 1;
    }
    void liveDocumentFollowsTheClock()
    {
        QFETCH(int, elapsed);
        QFETCH(int, index);
        const FIPTrack track = trackOnAir(elapsed);
        const FakeStation::Item item = sandbox::programme().at(index);
        QCOMPARE(m_sandbox->station().indexOnAir(), index);
        QCOMPARE(track.title, item.title);
        QCOMPARE(track.artist, item.artist);
        const QDateTime slotStart = m_firstStart.addSecs(elapsed - elapsed % period);
        QCOMPARE(track.startedAt, slotStart);
        QCOMPARE(track.endsAt, std::optional(slotStart.addSecs(period)));
    }

    void everyItemParsesWithItsCover_data()
    {
        QTest::addColumn<int>("index");
        const QList<FakeStation::Item> programme = sandbox::programme();
        for (int index = 0; index < programme.size(); ++index)
            QTest::addRow("%d %s", index, qUtf8Printable(programme.at(index).title)) << index;
    }
    void everyItemParsesWithItsCover()
    {
        QFETCH(int, index);
        const FakeStation::Item item = sandbox::programme().at(index);
        const FIPTrack track = trackOnAir(index * period);
        QCOMPARE(track.isMusicTrack, item.songUuid.has_value());
        QCOMPARE(track.artworkURL.has_value(), item.cover.has_value());
        if (!track.artworkURL)
            return;
        const QImage cover = QImage::fromData(get(*track.artworkURL));
        QCOMPARE(cover.size(), QSize(400, 400));
        QVERIFY(cover.convertToFormat(QImage::Format_RGB32) != FakeStation::coverImage(*item.cover + u'x', cover.size()));
    }

    void catalogHoldsExactNearAndMissingTracks()
    {
        const QList<FakeStation::Item> programme = sandbox::programme();
        QList<FIPTrack> exact, near, missing;
        for (int index = 0; index < programme.size(); ++index) {
            const FIPTrack track = trackOnAir(index * period);
            if (!track.isMusicTrack)
                continue;
            const QList<CatalogMatch> matches = search(track);
            const double best = matches.isEmpty() ? 0.0 : matches.first().confidence;
            (matches.isEmpty() ? missing : best == 1.0 ? exact : near).append(track);
            if (!matches.isEmpty())
                QCOMPARE(QImage::fromData(get(matches.first().song.artworkURL(60, 60))).size(), QSize(60, 60));
        }
        QVERIFY(!exact.isEmpty());
        QVERIFY(!near.isEmpty());
        QVERIFY(!missing.isEmpty());
        QCOMPARE(exact.size() + near.size() + missing.size(),
                 std::count_if(programme.cbegin(), programme.cend(), [](const auto &item) { return item.songUuid.has_value(); }));
    }

    void addedSongsLandInLibraryAndFipPlaylist()
    {
        testing::LogCapture log;
        QList<Song> songs;
        for (const int index : {0, 3}) {
            const QList<CatalogMatch> matches = search(trackOnAir(index * period));
            QVERIFY(!matches.isEmpty());
            songs.append(matches.first().song);
            QVERIFY(QCoro::waitFor(succeeded(m_service->addSong(songs.last()))));
        }
        const auto &appleMusic = m_sandbox->appleMusic();
        QCOMPARE(appleMusic.library(), (QStringList{songs.at(0).id, songs.at(1).id}));
        QCOMPARE(appleMusic.playlists().size(), 1);
        QCOMPARE(appleMusic.playlists().first().name, QStringLiteral("FIP"));
        QCOMPARE(appleMusic.playlists().first().trackIDs, (QStringList{songs.at(0).id, songs.at(1).id}));
        // Each change is told once, when it happens.
        const QStringList expected{
            QStringLiteral("added %1 to the library").arg(songs.at(0).id),
            QStringLiteral("created playlist FIP with id %1").arg(appleMusic.playlists().first().id),
            QStringLiteral("added %1 to playlist FIP").arg(songs.at(0).id),
            QStringLiteral("added %1 to the library").arg(songs.at(1).id),
            QStringLiteral("added %1 to playlist FIP").arg(songs.at(1).id),
        };
        QTRY_COMPARE(log.messagesOf("sandbox"), expected);
    }

    void chaosFollowsItsSeedAlone_data()
    {
        seedRows();
    }
    void chaosFollowsItsSeedAlone()
    {
        QFETCH(quint32, seed);
        const QByteArray document = m_sandbox->station().liveDocument();
        Chaos alone(seed), interleaved(seed), other(seed + 1);
        bool otherDiffers = false;
        for (int draw = 0; draw < 300; ++draw) {
            // The listener's Apple Music traffic must not move the station's schedule.
            for (int music = 0; music < draw % 4; ++music)
                interleaved.nextMusicReply();
            const StationDecision expected = alone.nextStationReply(document);
            const StationDecision actual = interleaved.nextStationReply(document);
            QCOMPARE(actual.kind, expected.kind);
            QVERIFY2(sameReply(actual.reply, expected.reply), qPrintable(QString::number(draw)));
            const StationDecision different = other.nextStationReply(document);
            otherDiffers = otherDiffers || different.kind != expected.kind || !sameReply(different.reply, expected.reply);
        }
        QVERIFY(otherDiffers);
        Chaos twin(seed);
        for (int draw = 0; draw < 100; ++draw) {
            const MusicDecision expected = twin.nextMusicReply();
            const MusicDecision actual = alone.nextMusicReply();
            QCOMPARE(actual.kind, expected.kind);
            QVERIFY(sameReply(actual.reply, expected.reply));
        }
    }

    void chaosCoversEveryMisbehaviour_data()
    {
        seedRows();
    }
    void chaosCoversEveryMisbehaviour()
    {
        QFETCH(quint32, seed);
        const QByteArray document = m_sandbox->station().liveDocument();
        Chaos chaos(seed);
        constexpr int draws = 400;
        QSet<QByteArray> stationKinds;
        QSet<qsizetype> streaks;
        qsizetype streak = 0;
        int hangs = 0;
        for (int draw = 0; draw < draws; ++draw) {
            const auto [kind, reply] = chaos.nextStationReply(document);
            stationKinds.insert(Chaos::nameOf(kind));
            const bool success = kind == Chaos::StationReply::document || kind == Chaos::StationReply::slowDocument;
            // The soak check reads the poll's outcome from the logged kind alone.
            QVERIFY2(pollSucceeds(reply) == success, Chaos::nameOf(kind).constData());
            QVERIFY(reply.delay <= std::chrono::seconds(5));
            hangs += reply.hang ? 1 : 0;
            if (success && streak > 0)
                streaks.insert(streak);
            streak = success ? 0 : streak + 1;
        }
        QCOMPARE(stationKinds.size(), QMetaEnum::fromType<Chaos::StationReply>().keyCount());
        // Streaks of three and of four or more lead to the 30 s and 60 s waits.
        QVERIFY(streaks.contains(3));
        QVERIFY(std::any_of(streaks.cbegin(), streaks.cend(), [](qsizetype length) { return length >= 4; }));
        // Each hang costs the app a full 60 s transfer timeout.
        QVERIFY2(hangs <= draws / 25, qPrintable(QString::number(hangs)));

        QSet<QByteArray> musicKinds;
        int normal = 0;
        for (int draw = 0; draw < draws; ++draw) {
            const auto [kind, reply] = chaos.nextMusicReply();
            musicKinds.insert(Chaos::nameOf(kind));
            if (kind == Chaos::MusicReply::normal) {
                ++normal;
                continue;
            }
            QVERIFY(reply.status >= 400 || QJsonDocument::fromJson(reply.body).isNull());
        }
        QCOMPARE(musicKinds.size(), QMetaEnum::fromType<Chaos::MusicReply>().keyCount());
        QVERIFY2(normal > draws / 2 && normal < draws * 9 / 10, qPrintable(QString::number(normal)));
    }

    void chaoticSandboxLogsEachRequest()
    {
        // The first draws of this seed hold no hang, which would stall the client.
        constexpr quint32 seed = 11;
        constexpr int polls = 6;
        Sandbox sandbox;
        QBuffer log;
        log.open(QIODevice::WriteOnly);
        sandbox.makeChaotic(seed, &log);
        QVERIFY(sandbox.listen());
        const auto variables = sandbox.environment();
        const auto station = std::find_if(variables.cbegin(), variables.cend(),
                                          [](const auto &variable) { return variable.first == "AIRNOTE_STATION_URL"; });
        QVERIFY(station != variables.cend());
        const QUrl liveURL(station->second);
        QVERIFY(liveURL != sandbox.station().liveURL());
        Chaos twin(seed);

        const double start = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
        for (int poll = 0; poll < polls; ++poll) {
            const StationDecision expected = twin.nextStationReply(sandbox.station().liveDocument());
            QVERIFY(!expected.reply.hang);
            const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(m_session.get(QNetworkRequest(liveURL)));
            QSignalSpy finished(reply.get(), &QNetworkReply::finished);
            QVERIFY(finished.wait(10'000));
            QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), expected.reply.status);
        }
        const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> token(
            m_session.get(QNetworkRequest(sandbox.appleMusic().tokenURL())));
        QSignalSpy tokenFinished(token.get(), &QNetworkReply::finished);
        QVERIFY(tokenFinished.wait(10'000));
        const MusicDecision musicExpected = twin.nextMusicReply();
        if (musicExpected.kind != Chaos::MusicReply::normal)
            QCOMPARE(token->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), musicExpected.reply.status);

        const QList<QByteArray> lines = log.data().trimmed().split('\n');
        QCOMPARE(lines.size(), polls + 1);
        Chaos again(seed);
        double previous = start;
        for (int line = 0; line < lines.size(); ++line) {
            const QList<QByteArray> fields = lines.at(line).split(' ');
            QCOMPARE(fields.size(), 4);
            const double at = fields.at(0).toDouble();
            QVERIFY(at >= previous - 0.001);
            previous = at;
            if (line == polls) {
                QCOMPARE(fields.at(1), QByteArray("music:token"));
                QCOMPARE(fields.at(2), Chaos::nameOf(musicExpected.kind));
                continue;
            }
            const StationDecision expected = again.nextStationReply(sandbox.station().liveDocument());
            QCOMPARE(fields.at(1), QByteArray("station"));
            QCOMPARE(fields.at(2), Chaos::nameOf(expected.kind));
            QCOMPARE(fields.at(3).toLongLong(), static_cast<qint64>(expected.reply.delay.count()));
        }
    }

    void executableRunsProgramInItsEnvironment_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("programOutput");
        QTest::newRow("variables reach the program") << QStringList{"--period", "5", "--run", "env"} << 0 << QString();
        QTest::newRow("exit code passes through") << QStringList{"--run", "sh", "-c", "exit 3"} << 3 << QString();
        QTest::newRow("options after --run are the program's")
            << QStringList{"--run", "echo", "--windowed", "--period"} << 0 << QStringLiteral("--windowed --period\n");
        QTest::newRow("program that does not exist") << QStringList{"--run", "/nonexistent/airnote"} << 127 << QString();
        QTest::newRow("bad period") << QStringList{"--period", "0", "--run", "env"} << 2 << QString();
    }
    void executableRunsProgramInItsEnvironment()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, programOutput);
        const std::unique_ptr<QProcess> sandbox(startSandbox(arguments));
        QVERIFY(sandbox->waitForFinished(30'000));
        QCOMPARE(sandbox->exitStatus(), QProcess::NormalExit);
        QCOMPARE(sandbox->exitCode(), exitCode);
        if (exitCode == 2)
            return;
        QStringList lines = QString::fromUtf8(sandbox->readAllStandardOutput()).split(u'\n');
        const qsizetype ready = lines.indexOf(QStringLiteral("ready"));
        QCOMPARE(ready, 5);
        const QString output = lines.mid(ready + 1).join(u'\n');
        if (!programOutput.isEmpty())
            QCOMPARE(output, programOutput);
        if (arguments.last() != QLatin1String("env"))
            return;
        for (QString exported : lines.first(ready)) {
            QVERIFY(exported.startsWith(QLatin1String("export AIRNOTE_")));
            QVERIFY2(output.split(u'\n').contains(exported.remove(0, 7)), qPrintable(exported));
        }
    }

    void terminationStopsTheSandbox_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("serving") << QStringList{} << 0;
        // The program ends by the forwarded signal, not by its own choice.
        QTest::newRow("running a program") << QStringList{"--run", "sleep", "600"} << 1;
    }
    void terminationStopsTheSandbox()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        const std::unique_ptr<QProcess> sandbox(startSandbox(arguments));
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += sandbox->readAllStandardOutput()).endsWith("ready\n"), 10'000);
        sandbox->terminate();
        QVERIFY(sandbox->waitForFinished(10'000));
        QCOMPARE(sandbox->exitStatus(), QProcess::NormalExit);
        QCOMPARE(sandbox->exitCode(), exitCode);
    }
};

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
