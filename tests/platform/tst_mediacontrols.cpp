// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "support/LogCapture.h"
#include "support/PrivateSessionBus.h"
#include "platform/MediaControls.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>


using namespace airnote;
using namespace Qt::StringLiterals;
using Status = MediaControls::Status;
using testing::PrivateSessionBus;
Q_DECLARE_METATYPE(airnote::MediaControls::Status)

namespace {

const QString service = u"org.mpris.MediaPlayer2.airnote"_s;
const QString root = u"org.mpris.MediaPlayer2"_s;
const QString player = u"org.mpris.MediaPlayer2.Player"_s;
const QString properties = u"org.freedesktop.DBus.Properties"_s;
const QVariant noTrack = QVariant::fromValue(QDBusObjectPath(u"/org/mpris/MediaPlayer2/TrackList/NoTrack"_s));

// Hears PropertiesChanged as a desktop does.
class Listener : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void changed(const QString &interface, const QVariantMap &values);

public Q_SLOTS:
    void onChanged(const QString &interface, const QVariantMap &values, const QStringList &)
    {
        Q_EMIT changed(interface, PrivateSessionBus::plain(values).toMap());
    }
};

} // namespace

// On a private bus of its own, never the machine's: the app and a desktop are two connections.
class MediaControlsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_bus.isConnected());
    }

    void publishFails_data()
    {
        QTest::addColumn<bool>("nameTaken");
        QTest::newRow("no bus") << false;
        QTest::newRow("name taken") << true;
    }

    void publishFails()
    {
        QFETCH(bool, nameTaken);
        testing::LogCapture log;
        if (nameTaken)
            QVERIFY(m_bus.desktop().registerService(service));
        MediaControls controls;
        const bool published = controls.publish(nameTaken ? m_bus.app() : QDBusConnection(u"nowhere"_s));
        m_bus.desktop().unregisterService(service);
        QVERIFY(!published);
        QCOMPARE(log.messagesOf("com.velmorin.Airnote.playback").size(), 1);
    }

    void readsProperties_data()
    {
        QTest::addColumn<QString>("interface");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("identity") << root << u"Identity"_s << QVariant(u"Airnote"_s);
        // The id of the installed desktop file, the only one in desktop/.
        const QString desktopFile = QDir(AIRNOTE_SOURCE_DIR "/desktop"_L1).entryList({u"*.desktop"_s}).value(0);
        QTest::newRow("desktop entry") << root << u"DesktopEntry"_s << QVariant(QFileInfo(desktopFile).completeBaseName());
        QTest::newRow("can raise") << root << u"CanRaise"_s << QVariant(true);
        QTest::newRow("no track list") << root << u"HasTrackList"_s << QVariant(false);
        QTest::newRow("stopped") << player << u"PlaybackStatus"_s << QVariant(u"Stopped"_s);
        QTest::newRow("no track") << player << u"Metadata"_s << QVariant(QVariantMap{{u"mpris:trackid"_s, noTrack}});
        QTest::newRow("can control") << player << u"CanControl"_s << QVariant(true);
        QTest::newRow("cannot seek") << player << u"CanSeek"_s << QVariant(false);
    }

    void readsProperties()
    {
        QFETCH(QString, interface);
        QFETCH(QString, name);
        QFETCH(QVariant, expected);
        MediaControls controls;
        QVERIFY(controls.publish(m_bus.app()));
        QCOMPARE(PrivateSessionBus::plain(m_bus.callMpris(properties, u"Get"_s, {interface, name}).arguments().value(0)), expected);
        QCOMPARE(PrivateSessionBus::plain(m_bus.callMpris(properties, u"GetAll"_s, {interface}).arguments().value(0)).toMap().value(name), expected);
    }

    void passesRequestsOn_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<Status>("status");
        QTest::addColumn<bool>("canPlay");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("play") << u"Play"_s << Status::Stopped << true << QStringList{u"play"_s};
        QTest::newRow("play with nothing to play") << u"Play"_s << Status::Stopped << false << QStringList();
        QTest::newRow("pause") << u"Pause"_s << Status::Playing << true << QStringList{u"pause"_s};
        QTest::newRow("toggle playing") << u"PlayPause"_s << Status::Playing << true << QStringList{u"pause"_s};
        QTest::newRow("toggle paused") << u"PlayPause"_s << Status::Paused << true << QStringList{u"play"_s};
        QTest::newRow("toggle stopped") << u"PlayPause"_s << Status::Stopped << true << QStringList{u"play"_s};
        QTest::newRow("toggle with nothing to play") << u"PlayPause"_s << Status::Stopped << false << QStringList();
        QTest::newRow("stop") << u"Stop"_s << Status::Playing << true << QStringList{u"stop"_s};
        QTest::newRow("next") << u"Next"_s << Status::Playing << true << QStringList();
        QTest::newRow("raise") << u"Raise"_s << Status::Stopped << true << QStringList{u"raise"_s};
        QTest::newRow("quit") << u"Quit"_s << Status::Playing << true << QStringList{u"quit"_s};
        // "Volume x": the desktop sets the volume to x.
        QTest::newRow("volume within") << u"Volume 0.25"_s << Status::Playing << true << QStringList{u"volume 0.25"_s};
        QTest::newRow("volume below") << u"Volume -0.5"_s << Status::Playing << true << QStringList{u"volume 0"_s};
        QTest::newRow("volume above") << u"Volume 1.5"_s << Status::Playing << true << QStringList{u"volume 1"_s};
    }

    void passesRequestsOn()
    {
        QFETCH(QString, method);
        QFETCH(Status, status);
        QFETCH(bool, canPlay);
        QFETCH(QStringList, expected);
        MediaControls controls;
        QVERIFY(controls.publish(m_bus.app()));
        controls.setStatus(status);
        controls.setCanPlay(canPlay);
        QStringList requests;
        const std::pair<void (MediaControls::*)(), QString> requestSignals[] = {
            {&MediaControls::playRequested, u"play"_s}, {&MediaControls::pauseRequested, u"pause"_s},
            {&MediaControls::stopRequested, u"stop"_s}, {&MediaControls::raiseRequested, u"raise"_s},
            {&MediaControls::quitRequested, u"quit"_s}};
        for (const auto &[signal, name] : requestSignals)
            connect(&controls, signal, this, [&requests, name] { requests.append(name); });
        connect(&controls, &MediaControls::volumeRequested, this, [&requests](double volume) { requests.append(u"volume %1"_s.arg(volume)); });
        // The reply comes after the method has run.
        const QStringList words = method.split(u' ');
        const QDBusMessage reply = words.size() == 2
            ? m_bus.callMpris(properties, u"Set"_s, {player, words[0], QVariant::fromValue(QDBusVariant(words[1].toDouble()))})
            : m_bus.callMpris(method == "Raise"_L1 || method == "Quit"_L1 ? root : player, method);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(requests, expected);
    }

    void tellsChanges()
    {
        MediaControls controls;
        QVERIFY(controls.publish(m_bus.app()));
        Listener listener;
        QVERIFY(m_bus.desktop().connect(service, u"/org/mpris/MediaPlayer2"_s, properties, u"PropertiesChanged"_s, &listener,
                                        SLOT(onChanged(QString,QVariantMap,QStringList))));
        QSignalSpy changes(&listener, &Listener::changed);
        const MediaControls::Track track{u"So What"_s, u"Miles Davis"_s, u"Kind of Blue"_s,
                                         QUrl(u"https://example.org/cover.jpg"_s)};
        controls.setTrack(track);
        // Unchanged values: nothing may come between the track and the status.
        controls.setTrack(track);
        controls.setVolume(1.0);
        controls.setCanPlay(true);
        controls.setStatus(Status::Playing);
        controls.setVolume(0.5);
        controls.setCanPlay(false);
        controls.setTrack({u"Nardis"_s});
        controls.setTrack({QString(), u"Bill Evans"_s});
        QTRY_COMPARE(changes.size(), 6);

        QCOMPARE(changes.at(0).at(0).toString(), player);
        const QVariantMap first = changes.at(0).at(1).toMap().value(u"Metadata"_s).toMap();
        const QVariant firstId = first.value(u"mpris:trackid"_s);
        QCOMPARE(first, (QVariantMap{{u"mpris:trackid"_s, firstId}, {u"xesam:title"_s, u"So What"_s},
                                     {u"xesam:artist"_s, QStringList{u"Miles Davis"_s}},
                                     {u"xesam:album"_s, u"Kind of Blue"_s},
                                     {u"mpris:artUrl"_s, u"https://example.org/cover.jpg"_s}}));
        QVERIFY(firstId.value<QDBusObjectPath>().path().startsWith(u"/com/velmorin/Airnote/"_s));
        QCOMPARE(changes.at(1).at(1).toMap(), (QVariantMap{{u"PlaybackStatus"_s, u"Playing"_s}}));
        QCOMPARE(changes.at(2).at(1).toMap(), (QVariantMap{{u"Volume"_s, 0.5}}));
        QCOMPARE(changes.at(3).at(1).toMap(), (QVariantMap{{u"CanPlay"_s, false}, {u"CanPause"_s, false}}));
        const QVariantMap second = changes.at(4).at(1).toMap().value(u"Metadata"_s).toMap();
        QCOMPARE(second.value(u"xesam:title"_s), u"Nardis"_s);
        QVERIFY(second.value(u"mpris:trackid"_s) != firstId);
        QCOMPARE(changes.at(5).at(1).toMap(), (QVariantMap{{u"Metadata"_s, QVariantMap{{u"mpris:trackid"_s, noTrack}}}}));
    }

private:
    PrivateSessionBus m_bus;
};

QTEST_GUILESS_MAIN(MediaControlsTest)
#include "tst_mediacontrols.moc"
