// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "fakes/FakeAppleMusic.h"
#include "fakes/FakeStation.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace airnote;
using namespace airnote::fakes;
using namespace Qt::StringLiterals;
using Endpoint = FakeAppleMusic::Endpoint;

// The real binary, started as a listener would, against the loopback fakes:
// a desktop shortcut runs `airnote --save`, the listener confirms with Return.
class EndToEndTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_environment;

    QProcess *startAirnote(const QStringList &arguments)
    {
        auto *process = new QProcess(this);
        process->setProcessEnvironment(m_environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QStringLiteral(AIRNOTE_BINARY), arguments);
        return process;
    }

    // Both listening, and the environment that points the program at them.
    bool useFakes(FakeStation &station, FakeAppleMusic &music)
    {
        if (!station.listen() || !music.listen())
            return false;
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(u"AIRNOTE_STATION_URL"_s, station.liveURL().toString());
        m_environment.insert(u"AIRNOTE_IMAGE_BASE"_s, station.imageBase().toString());
        m_environment.insert(u"AIRNOTE_TOKEN_URL"_s, music.tokenURL().toString());
        m_environment.insert(u"AIRNOTE_MUSIC_API_BASE"_s, music.apiBase().toString());
        m_environment.insert(u"AIRNOTE_MUSIC_USER_TOKEN"_s, music.musicUserToken());
        m_environment.insert(u"XDG_DATA_HOME"_s, m_home.filePath(u"data"_s));
        m_environment.insert(u"XDG_CONFIG_HOME"_s, m_home.filePath(u"config"_s));
        m_environment.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
        return true;
    }

    // A terminal with no display and no session bus.
    QProcess *startInTerminal(const QStringList &arguments)
    {
        QProcessEnvironment terminal = QProcessEnvironment::systemEnvironment();
        for (const QString &name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s})
            terminal.remove(name);
        terminal.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
        auto *process = new QProcess(this);
        process->setProcessEnvironment(terminal);
        process->start(QStringLiteral(AIRNOTE_BINARY), arguments);
        return process;
    }

    // Asks the running instance to quit, which it must then do.
    bool quitInstance(QProcess *running)
    {
        return startAirnote({u"--quit"_s})->waitForFinished(20000) && running->waitForFinished(20000);
    }

    // Keys go through the X server, as the listener's would.
    static void pressReturnIn(const QString &windowName)
    {
        QProcess::execute(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^"_s + windowName + u"$"_s,
                                          u"windowfocus"_s, u"--sync"_s, u"key"_s, u"Return"_s});
    }

private Q_SLOTS:
    void cleanup()
    {
        // A failed check must not leave a program running behind the test.
        for (QProcess *process : findChildren<QProcess *>()) {
            process->kill();
            process->waitForFinished();
        }
    }

    void answersInATerminal_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("output");  // in standard output, then standard error
        QTest::newRow("help") << QStringList{u"--help"_s} << 0
                              << QStringList{u"--show"_s, u"--save"_s, u"--history"_s, u"--quit"_s, u"--windowed"_s,
                                  u"--version"_s};
        QTest::newRow("version") << QStringList{u"--version"_s} << 0 << QStringList{u"Airnote " AIRNOTE_VERSION_TEXT "\n"_s};
        QTest::newRow("quit, none running") << QStringList{u"--quit"_s} << 0 << QStringList();
        QTest::newRow("unknown option") << QStringList{u"--sav"_s} << 2 << QStringList{u"Unknown option 'sav'."_s};
    }

    void answersInATerminal()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QStringList, output);
        QProcess *airnote = startInTerminal(arguments);
        QVERIFY(airnote->waitForFinished(20000));
        QCOMPARE(airnote->exitStatus(), QProcess::NormalExit);
        QCOMPARE(airnote->exitCode(), exitCode);
        const QString printed = QString::fromLocal8Bit(airnote->readAllStandardOutput() + airnote->readAllStandardError());
        for (const QString &expected : output)
            QVERIFY2(printed.contains(expected), qPrintable(printed));
    }

    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
            QSKIP("xdotool is not installed (scripts/install-deps installs it)");
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs an X display (ctest runs this test under xvfb-run)");
    }

    void savesFromTheCommandLineAndConfirmsWithReturn()
    {
        FakeStation station({{u"Harbour Lights"_s, u"Mira & Sol"_s, u"5e0c2c1a"_s, std::nullopt}});
        FakeAppleMusic music({FakeAppleMusic::songResource(u"1712000001"_s, u"Harbour Lights"_s, u"Mira & Sol"_s)});
        QVERIFY(useFakes(station, music));

        // Opened on the history, which the shortcut's flow must not stay behind.
        QProcess *airnote = startAirnote({u"--windowed"_s, u"--history"_s});
        QVERIFY(airnote->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(!station.server().requests().isEmpty(), 20000);

        QProcess *shortcut = startAirnote({u"--save"_s});
        QVERIFY(shortcut->waitForFinished(20000));
        QCOMPARE(shortcut->exitCode(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!music.requestsTo(Endpoint::catalogSearch).isEmpty(), 20000);

        // The preview shows once the search reply is in; Return before that does nothing.
        for (int attempt = 0; attempt < 40 && music.library().isEmpty(); ++attempt) {
            pressReturnIn(u"Airnote"_s);
            QTest::qWait(250);
        }
        QCOMPARE(music.library(), QStringList{u"1712000001"_s});
        QCOMPARE(music.requestsTo(Endpoint::libraryAddition).size(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(music.requestsTo(Endpoint::trackAddition).size(), 1, 20000);

        // What the record holds is tst_app's; here, that the program writes it where the listener's data lives.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_home.filePath(u"data/Airnote/captures.json"_s)), 20000);

        QVERIFY(quitInstance(airnote));
        QCOMPARE(airnote->exitCode(), 0);
    }

    // Two starts at the same moment (a double click on the launcher): one runs,
    // the other hands over and exits.
    void twoStartsAtOnceLeaveOneInstance()
    {
        FakeStation station({{u"Harbour Lights"_s, u"Mira & Sol"_s, u"5e0c2c1a"_s, std::nullopt}});
        FakeAppleMusic music;
        QVERIFY(useFakes(station, music));

        for (int round = 0; round < 5; ++round) {
            QProcess *first = startAirnote({u"--windowed"_s});
            QProcess *second = startAirnote({u"--windowed"_s});
            QVERIFY(first->waitForStarted() && second->waitForStarted());
            QTRY_VERIFY_WITH_TIMEOUT(first->state() == QProcess::NotRunning || second->state() == QProcess::NotRunning, 20000);
            QProcess *handedOver = first->state() == QProcess::NotRunning ? first : second;
            QProcess *running = handedOver == first ? second : first;
            QCOMPARE(handedOver->exitStatus(), QProcess::NormalExit);
            QCOMPARE(handedOver->exitCode(), 0);

            QVERIFY(quitInstance(running));
            QCOMPARE(running->exitCode(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(EndToEndTest)
#include "tst_e2e.moc"
