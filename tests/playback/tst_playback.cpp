// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "fakes/FakeStream.h"
#include "playback/StationPlayer.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cmath>

using namespace airnote;
using namespace std::chrono_literals;
using fakes::FakeStream;

namespace {

constexpr int recordRate = 22050;

// The null sink's monitor, read as it plays: the level and pitch of the last moments.
class SinkRecorder
{
public:
    SinkRecorder()
    {
        m_parec.start(QStringLiteral("parec"), QStringLiteral("--device=airnote_test.monitor --raw --format=s16le --channels=1 "
                                                              "--rate=%1 --latency-msec=50").arg(recordRate).split(u' '));
    }
    ~SinkRecorder()
    {
        m_parec.kill();
        m_parec.waitForFinished();
    }

    struct Sound
    {
        double level = -1;  // root mean square; -1 before anything was recorded
        double pitch = 0;
    };

    // The last quarter second, once that much has been recorded.
    Sound recent()
    {
        m_bytes += m_parec.readAllStandardOutput();
        const qsizetype count = recordRate / 4;
        if (m_bytes.size() / 2 < count)
            return {};
        const auto *data = reinterpret_cast<const qint16 *>(m_bytes.constData()) + m_bytes.size() / 2 - count;
        double sum = 0;
        int crossings = 0;
        for (qsizetype i = 0; i < count; ++i) {
            const double sample = qFromLittleEndian(data[i]) / 32768.0;
            sum += sample * sample;
            crossings += i > 0 && (qFromLittleEndian(data[i - 1]) < 0) != (sample < 0);
        }
        // A pure tone crosses zero twice a period.
        return {std::sqrt(sum / count), crossings * 2.0};
    }

private:
    QProcess m_parec;
    QByteArray m_bytes;
};

QUrl streamOf(const FakeStream &stream, const char *key)
{
    return stream.base().resolved(QUrl(QStringLiteral("/%1-hifi.aac").arg(QLatin1String(key))));
}

bool near(double pitch, double expected)
{
    return std::abs(pitch - expected) < expected * 0.05;
}

} // namespace

class TestPlayback : public QObject
{
    Q_OBJECT

    bool soundServerExpected() const { return !qEnvironmentVariableIsSet("AIRNOTE_EXPECT_NO_AUDIO"); }

    QTemporaryDir m_home;

private Q_SLOTS:
    void playsSwitchesAndPauses()
    {
        if (!soundServerExpected())
            QSKIP("runs under the test's own sound server");
        FakeStream stream;
        QVERIFY(stream.listen());
        const QString settings = m_home.filePath(QStringLiteral("play.conf"));
        StationPlayer player(settings);
        player.setVolume(0.5);
        player.setStream(streamOf(stream, "fip"));
        SinkRecorder recorder;

        player.play();
        QTRY_COMPARE_WITH_TIMEOUT(player.state(), StationPlayer::Playing, 15000);
        QTRY_VERIFY_WITH_TIMEOUT(recorder.recent().level > 0.05, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(near(recorder.recent().pitch, FakeStream::pitchOf(QStringLiteral("fip"))), 5000);

        // Another station while playing: its stream, heard at once, no pause asked.
        player.setStream(streamOf(stream, "fipjazz"));
        QTRY_VERIFY_WITH_TIMEOUT(near(recorder.recent().pitch, FakeStream::pitchOf(QStringLiteral("fipjazz"))), 10000);
        QCOMPARE(player.state(), StationPlayer::Playing);

        player.pause();
        QTRY_VERIFY_WITH_TIMEOUT(recorder.recent().level >= 0 && recorder.recent().level < 0.001, 5000);

        // Choosing a station while paused does not start playing.
        const int connections = stream.connectionCount();
        player.setStream(streamOf(stream, "fiprock"));
        QCOMPARE(player.state(), StationPlayer::Stopped);
        QCOMPARE(stream.connectionCount(), connections);

        // Not a number, as a desktop applet may send: no volume, nothing kept.
        player.setVolume(qQNaN());
        QCOMPARE(player.volume(), 0.5);
        QCOMPARE(StationPlayer(settings).volume(), 0.5);
    }

    void triesAgainWithGrowingPauses_data()
    {
        QTest::addColumn<FakeStream::Fault>("fault");
        QTest::addColumn<bool>("dropsWhilePlaying");
        QTest::newRow("dropped after a second of audio") << FakeStream::Fault::none << true;
        QTest::newRow("404") << FakeStream::Fault::notFound << false;
        QTest::newRow("hangs") << FakeStream::Fault::hang << false;
        QTest::newRow("garbage") << FakeStream::Fault::garbage << false;
    }

    void triesAgainWithGrowingPauses()
    {
        if (!soundServerExpected())
            QSKIP("runs under the test's own sound server");
        QFETCH(FakeStream::Fault, fault);
        QFETCH(bool, dropsWhilePlaying);
        FakeStream stream;
        QVERIFY(stream.listen());
        stream.setFault(fault);
        if (dropsWhilePlaying)
            stream.dropEvery(1s);
        StationPlayer::Timing timing{.firstRetry = 100ms, .longestRetry = 60s, .patience = 2s, .steady = 30s};
        StationPlayer player(m_home.filePath(QStringLiteral("retry.conf")), timing);
        player.setStream(streamOf(stream, "fip"));

        QList<std::chrono::milliseconds> pauses;
        bool played = false;
        connect(&player, &StationPlayer::stateChanged, this, [&] {
            played = played || player.state() == StationPlayer::Playing;
            if (player.state() == StationPlayer::Retrying)
                pauses.append(player.retryDelay());
        });
        player.play();
        QTRY_VERIFY_WITH_TIMEOUT(pauses.size() >= 3, 30000);
        QCOMPARE(pauses.mid(0, 3), (QList<std::chrono::milliseconds>{100ms, 200ms, 400ms}));
        QCOMPARE(played, dropsWhilePlaying);
        QVERIFY(player.isActive());

        // Paused while waiting: the retry is called off.
        player.pause();
        const int connections = stream.connectionCount();
        QTest::qWait(500);  // longer than the pending retry
        QCOMPARE(stream.connectionCount(), connections);
    }

    void saysWhyItCannotPlay()
    {
        if (soundServerExpected())
            QSKIP("runs as its own test, without a sound server");
        if (!QMediaDevices::audioOutputs().isEmpty())
            QSKIP("this machine has an audio output of its own");
        FakeStream stream;
        QVERIFY(stream.listen());
        StationPlayer player(m_home.filePath(QStringLiteral("silent.conf")));
        player.setStream(streamOf(stream, "fip"));
        player.play();
        QCOMPARE(player.state(), StationPlayer::Unavailable);
        QCOMPARE(stream.connectionCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestPlayback)
#include "tst_playback.moc"
