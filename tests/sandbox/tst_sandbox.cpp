// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/LogCapture.h"
#include "support/WaitFor.h"
#include "sandbox/Sandbox.h"
#include "sandbox/Scenario.h"

#include "music/AppleMusicService.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "station/StationPayload.h"

#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <memory>

using namespace airnote;
using fakes::FakeStation;

namespace {

constexpr int period = 30;

} // namespace

class TestSandbox : public QObject
{
    Q_OBJECT

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

    QDateTime m_firstStart = QDateTime(QDate(2026, 3, 14), QTime(21, 0), Qt::UTC);
    QDateTime m_now = m_firstStart;
    QNetworkAccessManager m_session;
    QTemporaryDir m_directory;
    std::unique_ptr<sandbox::Sandbox> m_sandbox;
    std::unique_ptr<MusicUserTokenProvider> m_userTokens;
    std::unique_ptr<MusicAuthorization> m_authorization;
    std::unique_ptr<AppleMusicService> m_service;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/airnote-test-bus");
        m_sandbox = std::make_unique<sandbox::Sandbox>(
            FakeStation::Schedule{.period = std::chrono::seconds(period), .clock = [this] { return m_now; }});
        QVERIFY(m_sandbox->listen());
        // Airnote's own services find the sandbox through the variables it prints.
        for (const auto &[name, value] : m_sandbox->environment())
            qputenv(name.constData(), value.toUtf8());
        m_userTokens = std::make_unique<MusicUserTokenProvider>();
        m_authorization = std::make_unique<MusicAuthorization>(m_userTokens.get());
        m_service = std::make_unique<AppleMusicService>(
            &m_session, m_authorization.get(), m_userTokens.get(),
            AppleMusicService::Configuration{.settingsFile = m_directory.filePath(QStringLiteral("Airnote.conf"))});
        // Signed in by the user token the sandbox hands out.
        QCOMPARE(m_authorization->currentStatus(), MusicAuthorization::Status::authorized);
    }

    // Slot by slot as the clock runs: what the station plays, and where the songs found land.
    void playsTheProgrammeAndTakesItsSongs()
    {
        testing::LogCapture log;
        const QList<FakeStation::Item> programme = sandbox::programme();
        const int count = static_cast<int>(programme.size());
        QSet<QString> kinds;
        QStringList ids;
        for (int index = 0; index < count; ++index) {
            const FIPTrack track = trackOnAir(index * period + period / 2);
            const FakeStation::Item &item = programme.at(index);
            QCOMPARE(std::pair(track.title, track.artist), std::pair(item.title, item.artist));
            QCOMPARE(track.startedAt, m_firstStart.addSecs(index * period));
            QCOMPARE(track.endsAt, std::optional(track.startedAt.addSecs(period)));
            QCOMPARE(track.isMusicTrack, item.songUuid.has_value());
            QCOMPARE(track.artworkURL.has_value(), item.cover.has_value());
            if (track.artworkURL) {
                const QImage cover = QImage::fromData(get(*track.artworkURL)).convertToFormat(QImage::Format_RGB32);
                QVERIFY(cover == FakeStation::coverImage(*item.cover, QSize(400, 400)));
            }
            if (!track.isMusicTrack)
                continue;
            const QList<CatalogMatch> matches = testing::waitFor(m_service->searchMatches(track.artist, track.title));
            kinds.insert(matches.isEmpty() ? "missing" : matches.first().confidence == 1.0 ? "exact" : "near");
            if (matches.isEmpty())
                continue;
            const Song song = matches.first().song;
            QCOMPARE(QImage::fromData(get(song.artworkURL(60, 60))).size(), QSize(60, 60));
            testing::waitFor(m_service->addSong(song));
            ids.append(song.id);
        }
        // The last item plays until the programme loops, on the second.
        const FIPTrack last = trackOnAir(count * period - 1);
        QCOMPARE(std::pair(last.title, last.startedAt), std::pair(programme.last().title, m_firstStart.addSecs((count - 1) * period)));
        const FIPTrack looped = trackOnAir(count * period);
        QCOMPARE(std::pair(looped.title, looped.startedAt), std::pair(programme.first().title, m_firstStart.addSecs(count * period)));
        QCOMPARE(kinds, (QSet<QString>{"exact", "near", "missing"}));
        const auto &playlists = m_sandbox->appleMusic().playlists();
        // The demo's terminal tells each change once, when it happens: these lines follow the
        // fake's library and playlists, so they also say what landed where.
        QStringList changes;
        for (const QString &id : ids)
            changes << "added " + id + " to the library" << "added " + id + " to playlist FIP";
        changes.insert(1, "created playlist FIP with id " + playlists.first().id);
        QTRY_COMPARE(log.messagesOf("sandbox"), changes);
    }

    void executableRunsProgramInItsEnvironment_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("terminated");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("variables reach the program") << QStringList{"--period", "5", "--run", "env"} << false << 0;
        // Without its own options and arguments the shell would not exit with 3.
        QTest::newRow("options after --run are the program's")
            << QStringList{"--run", "sh", "-c", "exit 3", "--windowed", "--period"} << false << 3;
        QTest::newRow("program that does not exist") << QStringList{"--run", "/nonexistent/airnote"} << false << 127;
        QTest::newRow("bad period") << QStringList{"--period", "0", "--run", "true"} << false << 2;
        QTest::newRow("terminated while serving") << QStringList{} << true << 0;
        // The program ends by the forwarded signal, not by its own choice.
        QTest::newRow("terminated while running a program") << QStringList{"--run", "sleep", "600"} << true << 1;
    }
    void executableRunsProgramInItsEnvironment()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, terminated);
        QFETCH(int, exitCode);
        QProcess sandbox;
        sandbox.start(QStringLiteral(AIRNOTE_SANDBOX_PROGRAM), arguments);
        if (terminated) {
            QTRY_VERIFY_WITH_TIMEOUT(sandbox.peek(4096).endsWith("ready\n"), 10'000);
            sandbox.terminate();
        }
        QVERIFY(sandbox.waitForFinished(30'000));
        QCOMPARE(sandbox.exitStatus(), QProcess::NormalExit);
        QCOMPARE(sandbox.exitCode(), exitCode);
        const QStringList lines = QString::fromUtf8(sandbox.readAllStandardOutput()).split(u'\n');
        const qsizetype ready = lines.indexOf(QStringLiteral("ready"));
        QCOMPARE(ready, exitCode == 2 ? -1 : 6);
        if (!arguments.endsWith(QStringLiteral("env")))
            return;
        const QStringList output = lines.mid(ready + 1);
        for (const QString &exported : lines.first(ready)) {
            QVERIFY(exported.startsWith(QLatin1String("export AIRNOTE_")));
            QVERIFY2(output.contains(exported.mid(7)), qPrintable(exported));
        }
    }
};

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
