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
        m_parec.start(QStringLiteral("parec"), {QStringLiteral("--device=airnote_test.monitor"), QStringLiteral("--raw"),
                                                 QStringLiteral("--format=s16le"), QStringLiteral("--channels=1"),
                                                 QStringLiteral("--rate=%1").arg(recordRate), QStringLiteral("--latency-msec=50")});
    }
    ~SinkRecorder()
    {
        m_parec.kill();
        m_parec.waitForFinished();
    }

    // The last quarter second's samples, once that much has been recorded.
    QList<double> recent()
    {
        m_bytes += m_parec.readAllStandardOutput();
        const qsizetype count = recordRate / 4;
        if (m_bytes.size() / 2 < count)
            return {};
        QList<double> samples;
        const auto *data = reinterpret_cast<const qint16 *>(m_bytes.constData()) + m_bytes.size() / 2 - count;
        for (qsizetype i = 0; i < count; ++i)
            samples.append(qFromLittleEndian(data[i]) / 32768.0);
        return samples;
    }

    double level()
    {
        const QList<double> samples = recent();
        double sum = 0;
        for (const double sample : samples)
            sum += sample * sample;
        return samples.isEmpty() ? -1 : std::sqrt(sum / samples.size());
    }

    // A pure tone crosses zero twice a period.
    double pitch()
    {
        const QList<double> samples = recent();
        int crossings = 0;
        for (qsizetype i = 1; i < samples.size(); ++i)
            crossings += (samples[i - 1] < 0) != (samples[i] < 0);
        return crossings * 2.0;  // over a quarter second
    }

private:
    QProcess m_parec;
    QByteArray m_bytes;
};

bool near(double pitch, double expected)
{
    return std::abs(pitch - expected) < expected * 0.05;
}

} // namespace

class TestPlayback : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void playsSwitchesAndPauses();
    void triesAgainWithGrowingPauses_data();
    void triesAgainWithGrowingPauses();
    void saysWhyItCannotPlay();

private:
    bool soundServerExpected() const { return !qEnvironmentVariableIsSet("AIRNOTE_EXPECT_NO_AUDIO"); }

    QTemporaryDir m_home;
};

void TestPlayback::initTestCase()
{
    QVERIFY(m_home.isValid());
}

void TestPlayback::playsSwitchesAndPauses()
{
    if (!soundServerExpected())
        QSKIP("runs under the test's own sound server");
    FakeStream stream;
    QVERIFY(stream.listen());
    const QString settings = m_home.filePath(QStringLiteral("play.conf"));
    StationPlayer player(settings);
    player.setVolume(0.5);
    player.setStream(stream.base().resolved(QUrl(QStringLiteral("/fip-hifi.aac"))));
    SinkRecorder recorder;

    player.play();
    QTRY_COMPARE_WITH_TIMEOUT(player.state(), StationPlayer::Playing, 15000);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.level() > 0.05, 10000);
    QTRY_VERIFY_WITH_TIMEOUT(near(recorder.pitch(), FakeStream::pitchOf(QStringLiteral("fip"))), 5000);

    // Another station while playing: its stream, heard at once, no pause asked.
    player.setStream(stream.base().resolved(QUrl(QStringLiteral("/fipjazz-hifi.aac"))));
    QTRY_VERIFY_WITH_TIMEOUT(near(recorder.pitch(), FakeStream::pitchOf(QStringLiteral("fipjazz"))), 10000);
    QCOMPARE(player.state(), StationPlayer::Playing);

    player.pause();
    QCOMPARE(player.state(), StationPlayer::Stopped);
    QTRY_VERIFY_WITH_TIMEOUT(recorder.level() >= 0 && recorder.level() < 0.001, 5000);

    // Choosing a station while paused does not start playing.
    const int connections = stream.connectionCount();
    player.setStream(stream.base().resolved(QUrl(QStringLiteral("/fiprock-hifi.aac"))));
    QCOMPARE(player.state(), StationPlayer::Stopped);
    QCOMPARE(stream.connectionCount(), connections);

    QCOMPARE(StationPlayer(settings).volume(), 0.5);
}

void TestPlayback::triesAgainWithGrowingPauses_data()
{
    QTest::addColumn<FakeStream::Fault>("fault");
    QTest::addColumn<bool>("dropsWhilePlaying");
    QTest::newRow("dropped after a second of audio") << FakeStream::Fault::none << true;
    QTest::newRow("404") << FakeStream::Fault::notFound << false;
    QTest::newRow("hangs") << FakeStream::Fault::hang << false;
    QTest::newRow("garbage") << FakeStream::Fault::garbage << false;
}

void TestPlayback::triesAgainWithGrowingPauses()
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
    player.setStream(stream.base().resolved(QUrl(QStringLiteral("/fip-hifi.aac"))));

    QList<std::chrono::milliseconds> pauses;
    bool played = false;
    connect(&player, &StationPlayer::stateChanged, this, [&] {
        played = played || player.state() == StationPlayer::Playing;
        if (player.state() == StationPlayer::Retrying) {
            pauses.append(player.retryDelay());
            QVERIFY(!player.message().isEmpty());
        }
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

void TestPlayback::saysWhyItCannotPlay()
{
    if (soundServerExpected())
        QSKIP("runs as its own test, without a sound server");
    if (!QMediaDevices::audioOutputs().isEmpty())
        QSKIP("this machine has an audio output of its own");
    FakeStream stream;
    QVERIFY(stream.listen());
    StationPlayer player(m_home.filePath(QStringLiteral("silent.conf")));
    player.setStream(stream.base().resolved(QUrl(QStringLiteral("/fip-hifi.aac"))));
    player.play();
    QCOMPARE(player.state(), StationPlayer::Unavailable);
    QVERIFY(!player.message().isEmpty());
    QVERIFY(!player.isActive());
    QCOMPARE(stream.connectionCount(), 0);
}

QTEST_GUILESS_MAIN(TestPlayback)
#include "tst_playback.moc"
