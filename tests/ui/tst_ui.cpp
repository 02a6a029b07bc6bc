// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "app/AirnoteApp.h"
#include "app/Translations.h"
#include "app/UpdateChecker.h"
#include "fakes/FakeAppleMusic.h"
#include "fakes/LoopbackHttpServer.h"
#include "history/CaptureRecord.h"
#include "platform/MusicAuthorization.h"
#include "station/FIPMetadataService.h"
#include "support/Fixtures.h"
#include "support/TestServices.h"
#include "support/WaitFor.h"
#include "ui/ConfidenceGrade.h"
#include "ui/PanelHost.h"
#include "ui/RelativeTime.h"
#include "ui/TrayIcon.h"
#include "ui/XEmbedTrayWatcher.h"

#include <QApplication>
#include <QAudioDevice>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFile>
#include <QJsonArray>
#include <QLineEdit>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QMediaDevices>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QProcess>
#include <QQuickItem>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <memory>
#include <optional>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

using namespace airnote;
using namespace airnote::fakes;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Endpoint = FakeAppleMusic::Endpoint;
using Status = CaptureRecord::Status;
using testing::fixture;

namespace {

const QString stationPath = u"/livemeta/live/7/webrf_fip_player"_s;
const QColor coverColour(200, 40, 120);
const QColor artworkColour(30, 150, 200);

// A flat colour survives lossy codecs, such as the WebP of the station's covers.
QByteArray flatImage(const QColor &colour, const char *format)
{
    QImage image(400, 400, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes;
}

HttpReply stationReply(const QString &name)
{
    if (name == "hang"_L1)
        return HttpReply::hangForever();
    if (name == "segment"_L1)
        return HttpReply::json(200, fixture(u"station-segment.json"_s));
    if (!name.startsWith("live"_L1))
        return HttpReply::text(name.toInt(), "station trouble");
    QJsonObject document = QJsonDocument::fromJson(fixture(u"station-live.json"_s)).object();
    QJsonObject now = document.value(u"now"_s).toObject();
    if (name == "liveWithoutCover"_L1)
        now.remove(u"cover"_s);
    if (name == "liveWithMarkup"_L1)
        now.insert(u"firstLine"_s, "<img src=\"%1/spy.png\">Harbour Lights"_L1.arg(qEnvironmentVariable("AIRNOTE_IMAGE_BASE")));
    document.insert(u"now"_s, now);
    return HttpReply::json(200, QJsonDocument(document).toJson());
}

// Items of that name, in the order of the visual tree.
QList<QQuickItem *> itemsNamed(QQuickItem *root, const QString &objectName)
{
    QList<QQuickItem *> found;
    const QList<QQuickItem *> children = root->childItems();
    for (QQuickItem *child : children) {
        if (child->objectName() == objectName)
            found.append(child);
        found.append(itemsNamed(child, objectName));
    }
    return found;
}

QQuickItem *itemNamed(QQuickItem *root, const QString &objectName)
{
    return itemsNamed(root, objectName).value(0);
}

bool isVisible(QQuickItem *root, const QString &objectName)
{
    QQuickItem *item = itemNamed(root, objectName);
    return item && item->isVisible();
}

// A tooltip lives in the window's overlay, away from the item it describes,
// so the whole visual tree is searched.
bool showsText(QQuickItem *item, const QString &text)
{
    if (!item->isVisible())
        return false;
    if (item->property("text").toString() == text)
        return true;
    const QList<QQuickItem *> children = item->childItems();
    return std::any_of(children.cbegin(), children.cend(), [&text](QQuickItem *child) { return showsText(child, text); });
}

QColor pixelAt(const QImage &image, QQuickItem *item, QPointF relative = {0.5, 0.5})
{
    const QPointF point =
        item->mapToScene({item->width() * relative.x(), item->height() * relative.y()}) * image.devicePixelRatio();
    return image.pixelColor(point.toPoint());
}

int colourDistance(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue());
}

// Named after the test function and its data row, or the step given.
void saveScreenshot(const QImage &image, const char *step = nullptr)
{
    const QString folder = QStringLiteral(AIRNOTE_TEST_OUTPUT_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString row = QString::fromUtf8(step ? step : QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
    QVERIFY(image.save(u"%1/%2-%3.png"_s.arg(folder, QLatin1String(QTest::currentTestFunction()), row)));
}

// A dark desktop palette for the life of the object; the light one comes back after.
class DarkLook
{
public:
    DarkLook()
    {
        QPalette palette(QColor(0x3a, 0x3a, 0x3c), QColor(0x1e, 0x1e, 0x1e));
        palette.setColor(QPalette::Highlight, QColor(0x0a, 0x84, 0xff));
        QGuiApplication::setPalette(palette);
    }
    ~DarkLook() { QGuiApplication::setPalette(m_light); }
    Q_DISABLE_COPY_MOVE(DarkLook)

private:
    const QPalette m_light = QGuiApplication::palette();
};

// A history entry as the store writes it.
QJsonObject record(const QString &title, Status status, qint64 secondsAgo)
{
    return CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc().addSecs(-secondsAgo), u"Mira & Sol"_s,
                         title, std::nullopt, std::nullopt, std::nullopt, status, std::nullopt).toJson();
}

void click(QQuickWindow &window, QQuickItem *item)
{
    QTest::mouseClick(&window, Qt::LeftButton, {}, item->mapToScene(item->boundingRect().center()).toPoint());
}

// The real panel window over a real poller. The poller's waits last minutes,
// so every poll after the first is one the test (or the panel) asked for.
struct PanelUnderTest
{
    // A running version replaces the updater by one reading the loopback feed.
    explicit PanelUnderTest(FakeAppleMusic *music = nullptr, const QByteArray &history = {},
                            const QString &runningVersion = {}, std::chrono::milliseconds releaseDelay = 1h)
        : app(servicesFor(music, history, runningVersion))
        , fip(*app.fip())
        , host(app.panel(), app.updater(), PanelWindow::Presentation::Windowed, releaseDelay)
    {
        fip.setWaitUnit(1min);
    }

    AirnoteApp::Services servicesFor(FakeAppleMusic *music, const QByteArray &history, const QString &runningVersion)
    {
        const QUrl station(QString::fromUtf8(qgetenv("AIRNOTE_STATION_URL")));
        AirnoteApp::Services services = testing::servicesFor(&network, station, home.path(), music);
        if (!runningVersion.isEmpty()) {
            delete services.updater;
            services.updater = new UpdateChecker(&network, station.resolved(QUrl(u"/appcast.xml"_s)), runningVersion, 24h);
        }
        QFile file(services.store->fileName());
        if (!history.isEmpty() && file.open(QIODevice::WriteOnly))
            file.write(history);
        return services;
    }

    // The window, built by its first showing.
    PanelWindow &window() const { return *host.window(); }
    QQuickItem *content() const { return window().rootObject(); }

    bool show()
    {
        host.showNextTo(QRect());
        return QTest::qWaitForWindowExposed(&window());
    }

    // The pixels once the window has caught up with its content: a grab lays the
    // content out, the window then resizes, and the X server applies the new size later.
    QImage grab()
    {
        QImage image;
        const bool settled = QTest::qWaitFor([&] {
            image = window().grabWindow();
            return window().size() == content()->size().toSize() && image.size() == window().size() * image.devicePixelRatio();
        });
        if (!settled)
            qWarning() << "the window never matched its content's size" << image.size();
        return image;
    }

    // The face frames on screen, one fading out included.
    QList<QQuickItem *> faces() const { return itemsNamed(content(), u"face"_s); }

    // The face whose key starts with keyStart, once it is alone, opaque, and
    // the window has taken its size, so that clicks land where its items are.
    QQuickItem *settledFace(const QString &keyStart) const
    {
        const bool settled = QTest::qWaitFor([&] {
            const QList<QQuickItem *> shown = faces();
            return shown.size() == 1 && shown[0]->property("key").toString().startsWith(keyStart)
                && shown[0]->opacity() == 1.0 && window().size() == content()->size().toSize();
        }, 10000);
        return settled ? faces().constFirst() : nullptr;
    }

    // Active, so that the sheets' keyboard shortcuts answer.
    bool showAndPoll()
    {
        return show() && QTest::qWaitForWindowActive(&window()) && QTest::qWaitFor([this] { return fip.hasCurrent(); });
    }

    bool clickOn(const QString &keyStart, const QString &button)
    {
        QQuickItem *face = settledFace(keyStart);
        if (face)
            click(window(), itemNamed(face, button));
        return face;
    }

    // Polled, then a button of the track on air pressed; open() also waits for the face it opens.
    bool showAndClick(const QString &button) { return showAndPoll() && clickOn(u"nowPlaying"_s, button); }
    QQuickItem *open(const QString &button, const QString &face) { return showAndClick(button) ? settledFace(face) : nullptr; }

    QTemporaryDir home;
    QNetworkAccessManager network;
    AirnoteApp app;
    FIPMetadataService &fip;
    PanelHost host;
};

} // namespace

class UiTest : public QObject
{
    Q_OBJECT

    LoopbackHttpServer m_server;
    QByteArray m_cover;
    QByteArray m_artwork;
    std::unique_ptr<FakeAppleMusic> m_music;
    std::optional<Translations> m_language;

    // Replies to the station requests in order, the last one repeating.
    void serveStation(const QStringList &script)
    {
        auto answered = std::make_shared<qsizetype>(0);
        m_server.setHandler([this, script, answered](const HttpRequest &request) {
            if (request.path.startsWith("/pikapi/images/"_L1))
                return HttpReply{.status = 200, .body = m_cover, .contentType = "image/webp"};
            if (request.path.startsWith("/artwork/"_L1))
                return HttpReply{.status = 200, .body = m_artwork, .contentType = "image/png"};
            if (request.path == "/appcast.xml"_L1)
                return HttpReply{.status = 200, .body = fixture(u"appcast.xml"_s), .contentType = "application/rss+xml"};
            return stationReply(script.at(std::min((*answered)++, script.size() - 1)));
        });
    }

    qsizetype requestCount(const QString &path) const
    {
        return std::count_if(m_server.requests().cbegin(), m_server.requests().cend(),
                             [&path](const HttpRequest &request) { return request.path == path; });
    }

    // The first candidates of a catalog whose songs all match the track on air.
    QJsonArray catalog(qsizetype candidates) const
    {
        const QString artwork = m_server.url().toString() + u"/artwork/%1/{w}x{h}bb.png"_s;
        QJsonArray songs{
            FakeAppleMusic::songResource(u"1712000001"_s, u"Harbour Lights"_s, u"Mira & Sol"_s, u"Tides"_s,
                artwork.arg(1712000001)),
            FakeAppleMusic::songResource(u"1712000042"_s, u"Harbor Lights"_s, u"Mira & Sol"_s, {}, artwork.arg(1712000042)),
            FakeAppleMusic::songResource(u"1712000077"_s, u"Harbour Lights"_s, u"The Lanterns"_s)};
        while (songs.size() > candidates)
            songs.removeLast();
        return songs;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_server.listen());
        // Read once per process by the endpoints, so it must be set before any parse.
        qputenv("AIRNOTE_IMAGE_BASE", m_server.url().toString().toUtf8());
        qputenv("AIRNOTE_STATION_URL", m_server.url(stationPath).toString().toUtf8());
        m_cover = flatImage(coverColour, "WEBP");
        QVERIFY2(!m_cover.isEmpty(), "the WebP image plugin is missing");
        m_artwork = flatImage(artworkColour, "PNG");
    }

    void init()
    {
        // The texts the tests look for are the French ones, plural forms included.
        m_language.emplace(Language::french);
        m_server.clearRequests();
        serveStation({u"live"_s});
        m_music = std::make_unique<FakeAppleMusic>();
        QVERIFY(m_music->listen());
        qputenv("AIRNOTE_MUSIC_USER_TOKEN", m_music->musicUserToken().toUtf8());
    }

    void cleanup() { m_music.reset(); }

    void nowPlayingFaces_data()
    {
        QTest::addColumn<QStringList>("script");
        QTest::addColumn<QStringList>("shown");
        QTest::addColumn<QString>("artwork");
        QTest::addColumn<QString>("toolTip");

        const QStringList track{u"trackBlock"_s, u"saveButton"_s};
        QTest::newRow("markup in the title") << QStringList{"liveWithMarkup"} << track << "cover" << "";
        QTest::newRow("cover gone at the next poll") << QStringList{"live", "liveWithoutCover"} << track << "placeholder" << "";
        QTest::newRow("first poll in flight")
            << QStringList{"hang"} << QStringList{"loadingMessage", "fetchingIndicator"} << "" << "Mise à jour…";
        QTest::newRow("programme segment") << QStringList{"segment"} << QStringList{"noMusicMessage"} << "" << "";
        QTest::newRow("unreachable after a track") << QStringList{"live", "500", "500", "500"}
                                                   << track + QStringList{"unreachableWarning"} << "cover" << "FIP injoignable";
        QTest::newRow("fetch while unreachable") << QStringList{"live", "500", "404", "500", "hang"}
                                                 << track + QStringList{"fetchingIndicator"} << "cover" << "";
    }

    void nowPlayingFaces()
    {
        QFETCH(QStringList, script);
        QFETCH(QStringList, shown);
        QFETCH(QString, artwork);
        QFETCH(QString, toolTip);

        serveStation(script);
        PanelUnderTest panel;
        QTest::qWait(0);
        QCOMPARE(requestCount(stationPath), 0);
        QVERIFY(panel.show());

        const bool hangs = script.constLast() == "hang"_L1;
        auto *artworkItem = itemNamed(panel.content(), u"artwork"_s);
        for (qsizetype poll = 1; poll <= script.size(); ++poll) {
            QTRY_COMPARE(requestCount(stationPath), poll);
            // Each poll's outcome is on screen before the next one starts.
            QTRY_VERIFY(hangs && poll == script.size() ? panel.fip.isFetching() : panel.fip.isWaiting());
            QTRY_VERIFY(artworkItem->property("source").toUrl().isEmpty() || artworkItem->property("isLoaded").toBool());
            if (poll < script.size())
                panel.fip.cutWaitShort();
        }

        // The album line hides in every row: the station names no album.
        for (const char *part : {"trackBlock", "saveButton", "loadingMessage", "noMusicMessage", "fetchingIndicator",
                                 "unreachableWarning", "trackAlbum"})
            QVERIFY2(isVisible(panel.content(), part) == shown.contains(part), qPrintable(part));
        const QImage image = panel.grab();
        const QColor shownArtwork = pixelAt(image, artworkItem);
        if (artwork == "cover"_L1)
            QVERIFY2(colourDistance(shownArtwork, coverColour) < 24, "the artwork shows the served cover");
        // Painted: neither the bare background nor the cover of the poll before.
        if (artwork == "placeholder"_L1)
            QVERIFY2(colourDistance(shownArtwork, pixelAt(image, panel.content(), {0.5, 0.02})) > 6
                         && colourDistance(shownArtwork, coverColour) > 100,
                     qPrintable(shownArtwork.name()));
        if (shown.contains(u"trackBlock"_s)) {
            QCOMPARE(itemNamed(panel.content(), "trackTitle")->property("text").toString(), panel.fip.current()->title);
            QVERIFY(showsText(itemNamed(panel.content(), "trackArtist"), u"Mira & Sol"_s));
        }
        if (!toolTip.isEmpty()) {
            QVERIFY(!showsText(panel.window().contentItem(), toolTip));
            // Qt drops a move to where the pointer already is, such as the previous row's spot.
            QTest::mouseMove(&panel.window(), QPoint(1, 1));
            QQuickItem *hovered = itemNamed(panel.content(), shown.constLast());
            QTest::mouseMove(&panel.window(), hovered->mapToScene(hovered->boundingRect().center()).toPoint());
            QTRY_VERIFY(showsText(panel.window().contentItem(), toolTip));
        }
        saveScreenshot(panel.grab());
        QVERIFY2(requestCount(u"/spy.png"_s) == 0, "outside text is never read as markup");

        if (!hangs) {
            // Reopened during a wait of minutes: the panel must not show a stale track.
            panel.window().hide();
            panel.window().show();
            QTRY_COMPARE(requestCount(stationPath), script.size() + 1);
            QTRY_VERIFY(panel.fip.isWaiting());
        }
    }

    void labels_data()
    {
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("expected");

        const auto badge = [](double confidence) {
            const char *grade = QMetaEnum::fromType<ConfidenceGrade::Grade>().valueToKey(ConfidenceGrade::grade(confidence));
            return ConfidenceGrade::text(confidence) + u' ' + QLatin1String(grade);
        };
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const auto ago = [&now](qint64 seconds) { return RelativeTime::since(now.addSecs(-seconds), now); };
        const auto placed = [](const QRect &anchor) {
            const QPoint origin = PanelWindow::placement(anchor, QSize(320, 200), QRect(0, 0, 1280, 800));
            return u"%1,%2"_s.arg(origin.x()).arg(origin.y());
        };
        QTest::newRow("badge at the green threshold") << badge(0.85) << "85% High";
        QTest::newRow("badge just under it") << badge(0.8499) << "84% Fair";
        QTest::newRow("badge at the orange threshold") << badge(0.5) << "50% Fair";
        QTest::newRow("badge under it") << badge(0.49) << "49% Low";
        QTest::newRow("just now") << ago(59) << "à l'instant";
        QTest::newRow("clock set back") << ago(-300) << "à l'instant";
        QTest::newRow("last minute of the hour") << ago(3599) << "il y a 59 min";
        QTest::newRow("months") << ago(65 * 86400) << "il y a 2 mois";
        QTest::newRow("one year") << ago(400 * 86400) << "il y a 1 an";
        QTest::newRow("years") << ago(3 * 366 * 86400) << "il y a 3 ans";
        QTest::newRow("top bar, middle") << placed(QRect(600, 0, 24, 24)) << "451,24";
        QTest::newRow("top bar, right corner") << placed(QRect(1250, 0, 24, 24)) << "960,24";
        QTest::newRow("bottom bar, left corner") << placed(QRect(4, 776, 24, 24)) << "0,576";
        QTest::newRow("cursor in the middle") << placed(QRect(640, 300, 1, 1)) << "480,301";
    }

    void labels()
    {
        QFETCH(QString, shown);
        QFETCH(QString, expected);
        QCOMPARE(shown, expected);
    }

    void saveFlowFaces_data()
    {
        QTest::addColumn<int>("candidates");
        QTest::addColumn<QString>("setup");
        QTest::addColumn<int>("pressed");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("shownKey");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<int>("iconHue");

        const QString onAir = u"Mira & Sol — Harbour Lights"_s;
        const int none = 0;
        const int enter = Qt::Key_Return;
        QTest::newRow("searching") << 1 << "slow search" << -1 << none << "searching-"
                                   << QStringList{"Recherche dans Apple Music…", onAir} << -1;
        QTest::newRow("preview with one candidate") << 1 << "" << -1 << none << "preview-" << QStringList{
            "Confirmer la sauvegarde", "FIP : " + onAir + "  ·  1 résultat", "Tides", "100%"} << -1;
        QTest::newRow("preview with three candidates") << 3 << "" << -1 << none << "preview-"
            << QStringList{"FIP : " + onAir + "  ·  3 résultats"} << -1;
        QTest::newRow("return does nothing without candidates") << 0 << "" << -1 << enter << "preview-" << QStringList{
            "Pas trouvé dans Apple Music", "FIP joue : " + onAir, "Annuler", "Logger pour plus tard"} << -1;
        QTest::newRow("saving") << 1 << "slow addition" << -1 << enter << "saving-" << QStringList{"Sauvegarde…", onAir} << -1;
        QTest::newRow("already saved") << 1 << "recent save" << -1 << none << "already-"
            << QStringList{"Déjà sauvé récemment", onAir} << 211;
        QTest::newRow("failure with a long message") << 1 << "failing addition" << -1 << enter << "failure-"
            << QStringList{"Échec"} << 35;
        QTest::newRow("return confirms the card pressed last") << 3 << "" << 2 << enter << "success-Harbour Lights-The Lanterns"
            << QStringList{"Sauvé dans Apple Music", "The Lanterns — Harbour Lights"} << 135;
        QTest::newRow("escape cancels") << 0 << "" << -1 << int(Qt::Key_Escape) << "nowPlaying" << QStringList() << -1;
    }

    void saveFlowFaces()
    {
        QFETCH(int, candidates);
        QFETCH(QString, setup);
        QFETCH(int, pressed);
        QFETCH(int, key);
        QFETCH(QString, shownKey);
        QFETCH(QStringList, texts);
        QFETCH(int, iconHue);

        m_music->setCatalog(catalog(candidates));
        if (setup == "slow search"_L1)
            m_music->replyNext(Endpoint::catalogSearch,
                               HttpReply{.body = fixture(u"catalog-search-empty.json"_s), .delay = 3s});
        if (setup == "slow addition"_L1)
            m_music->replyNext(Endpoint::libraryAddition, HttpReply{.status = 202, .body = {}, .delay = 3s});
        if (setup == "failing addition"_L1) {
            const QByteArray reason = "Bibliothèque fermée pour maintenance programmée du stockage. "_ba;
            m_music->replyNext(Endpoint::libraryAddition, HttpReply::text(503, reason.repeated(5)));
        }
        const QByteArray history = setup == "recent save"_L1
            ? QJsonDocument(QJsonArray{record(u"Harbour Lights"_s, CaptureRecord::Status::saved, 60)}).toJson() : QByteArray();
        PanelUnderTest panel(m_music.get(), history);
        // Long enough to see the outcome cards; the test ends before they go.
        panel.app.workflow()->setHoldUnit(5s);
        QVERIFY(panel.showAndClick(u"saveButton"_s));
        if (key != 0) {
            QQuickItem *preview = panel.settledFace(u"preview-"_s);
            QVERIFY(preview);
            const QList<QQuickItem *> cards = itemsNamed(preview, u"candidate"_s);
            if (pressed >= 0) {
                click(panel.window(), cards[pressed]);
                for (qsizetype index = 0; index < cards.size(); ++index)
                    QCOMPARE(cards[index]->property("isSelected").toBool(), index == pressed);
            }
            QTest::keyClick(&panel.window(), Qt::Key(key));
            // The new face fades in while the old one fades out; nothing moves when nothing changed.
            QCOMPARE(panel.faces().size(), shownKey == "preview-"_L1 ? 1 : 2);
            // Any decision the key started has queued its record by now.
            if (shownKey == "preview-"_L1)
                QVERIFY2(testing::waitFor(panel.app.store()->loadAll()).isEmpty(), "Return decided nothing");
        }

        QQuickItem *face = panel.settledFace(shownKey);
        QVERIFY2(face, qPrintable(panel.app.panel()->faceKey()));
        for (const QString &text : texts)
            QVERIFY2(showsText(face, text), qPrintable(text));
        const bool onPreview = shownKey == "preview-"_L1;
        QCOMPARE(isVisible(face, u"notFound"_s), onPreview && candidates == 0);
        QCOMPARE(isVisible(face, u"confirmButton"_s), onPreview && candidates > 0);
        if (onPreview && candidates > 0) {
            QVERIFY2(itemNamed(face, "candidate")->property("isSelected").toBool(), "the best is selected at once");
            const QList<QQuickItem *> artworks = itemsNamed(face, u"candidateArtwork"_s);
            QTRY_VERIFY(artworks[0]->property("isLoaded").toBool());
            QVERIFY(requestCount(u"/artwork/1712000001/112x112bb.png"_s) > 0);
            const QImage image = panel.grab();
            QVERIFY(colourDistance(pixelAt(image, artworks[0]), artworkColour) < 24);
            if (candidates == 3) {
                QVERIFY2(colourDistance(pixelAt(image, artworks[2]), artworkColour) > 100, "a song without artwork");
                QStringList badges;
                for (QQuickItem *badge : itemsNamed(face, u"confidenceBadge"_s))
                    badges.append(badge->property("text").toString() + u' '
                                  + badge->property("color").value<QColor>().name(QColor::HexArgb));
                // The light palette's green, green and orange.
                QCOMPARE(badges, (QStringList{"100% #ff34c759", "99% #ff34c759", "68% #ffff9500"}));
            }
        }
        if (shownKey == "failure-"_L1) {
            auto *subtitle = itemNamed(face, u"statusSubtitle"_s);
            QVERIFY(subtitle->property("text").toString().contains(u"maintenance programmée"_s));
            QVERIFY(subtitle->property("truncated").toBool());
        }
        if (iconHue >= 0) {
            // Sampled in the lower part of the symbol, where every one of them is solid.
            const QColor tint = pixelAt(panel.grab(), itemNamed(face, u"statusIcon"_s), {0.5, 19.5 / 24});
            QVERIFY2(std::abs(tint.hslHue() - iconHue) < 15, qPrintable(tint.name()));
        }
        saveScreenshot(panel.grab());

        QCOMPARE(m_music->requestsTo(Endpoint::libraryAddition).size(), key == Qt::Key_Return && candidates > 0 ? 1 : 0);
        // Requests still in flight would outlive the services.
        if (setup.startsWith("slow"_L1))
            QVERIFY(panel.settledFace(setup == "slow search"_L1 ? "preview-" : "success-"));
    }

    void historyFaces_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<bool>("scrolls");
        QTest::addColumn<bool>("unreadable");

        const QString longTitle = u"Harbour Lights, version longue enregistrée en public au festival"_s;
        const QJsonArray fourStatuses{
            record(u"Noté pour plus tard"_s, Status::logged, 2 * 86400 + 60),
            record(u"Échec de sauvegarde"_s, Status::saveFailed, 3 * 3600 + 60),
            record(u"Introuvable dans le catalogue"_s, Status::noMatch, 5 * 60 + 10), record(longTitle, Status::saved, 20)};
        QJsonArray many;
        for (int index = 1; index <= 60; ++index)
            many.append(record(u"Morceau %1"_s.arg(index), Status::saved, (61 - index) * 600));

        QTest::newRow("all four statuses") << QJsonDocument(fourStatuses).toJson() << QStringList{
            longTitle + " · à l'instant", "Introuvable dans le catalogue · il y a 5 min", "Échec de sauvegarde · il y a 3 h",
            "Noté pour plus tard · il y a 2 j"} << false << false;
        QTest::newRow("more rows than fit") << QJsonDocument(many).toJson() << QStringList{
            "Morceau 60 · il y a 10 min", "Morceau 59 · il y a 20 min", "Morceau 58 · il y a 30 min"} << true << false;
        QTest::newRow("no history") << QByteArray() << QStringList{} << false << false;
        QTest::newRow("unreadable history") << QByteArray("[{\"id\": 12") << QStringList{} << false << true;
    }

    void historyFaces()
    {
        QFETCH(QByteArray, file);
        QFETCH(QStringList, rows);
        QFETCH(bool, scrolls);
        QFETCH(bool, unreadable);

        PanelUnderTest panel(nullptr, file);
        QVERIFY(panel.showAndPoll());
        QSignalSpy loaded(panel.app.history(), &HistoryModel::loaded);
        QVERIFY(panel.clickOn(u"nowPlaying"_s, u"historyButton"_s));
        QQuickItem *history = panel.settledFace(u"history"_s);
        QVERIFY(history);
        QTRY_COMPARE(loaded.size(), 1);

        QCOMPARE(isVisible(history, u"emptyMessage"_s), rows.isEmpty() && !unreadable);
        // A history that cannot be read says why, and offers no export.
        QCOMPARE(isVisible(history, u"unreadableMessage"_s), unreadable);
        QCOMPARE(itemNamed(history, u"exportButton"_s)->isEnabled(), !unreadable);
        auto *list = itemNamed(history, u"historyList"_s);
        QCOMPARE(list->isVisible(), !rows.isEmpty());
        if (!rows.isEmpty()) {
            // Rows settle as the list lays out what the history's search let through.
            QList<QQuickItem *> built;
            const auto shown = [&] {
                built = itemsNamed(list, u"historyRow"_s);
                std::sort(built.begin(), built.end(), [](QQuickItem *a, QQuickItem *b) { return a->y() < b->y(); });
                QStringList texts;
                for (QQuickItem *row : built.first(std::min(built.size(), rows.size())))
                    texts.append(itemNamed(row, u"historyTitle"_s)->property("text").toString() + u" · "_s
                                 + itemNamed(row, u"historyTime"_s)->property("text").toString());
                return texts;
            };
            QTRY_COMPARE(shown(), rows);
            QVERIFY2(itemNamed(built[0], "historyTitle")->property("lineCount").toInt() == 1, "titles keep to one line");
            QCOMPARE(isVisible(list, u"historyScrollBar"_s), scrolls);
            QCOMPARE(list->height() == 280.0, scrolls);
            QVERIFY2(!scrolls || built.size() < 60, "rows are built as they scroll into view");
        }
        saveScreenshot(panel.grab());
    }

    // The history driven from the keyboard: Ctrl+F finds, the arrows choose,
    // Return tries a failed save again, Escape leaves. In the dark look: the
    // other history tests are light.
    void historyActions()
    {
        const DarkLook look;
        const QJsonArray file{record(u"Échec de sauvegarde"_s, Status::saveFailed, 3 * 3600),
                              record(u"Introuvable dans le catalogue"_s, Status::noMatch, 600),
                              record(u"Harbour Lights"_s, Status::saved, 20)};
        m_music->setCatalog(catalog(1));
        PanelUnderTest panel(m_music.get(), QJsonDocument(file).toJson());
        QQuickItem *history = panel.open(u"historyButton"_s, u"history"_s);
        QVERIFY(history);
        QTRY_COMPARE(itemsNamed(history, u"historyRow"_s).size(), 3);
        saveScreenshot(panel.grab(), "rows");
        QTest::keyClick(&panel.window(), Qt::Key_Escape);
        QVERIFY(panel.settledFace(u"nowPlaying"_s));

        panel.app.panel()->onShowHistory();
        QVERIFY(history = panel.settledFace(u"history"_s));
        QTest::keyClick(&panel.window(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(itemNamed(history, u"searchField"_s)->hasActiveFocus());
        for (const char key : {'e', 'c', 'h', 'e', 'c'})
            QTest::keyClick(&panel.window(), key);
        QList<QQuickItem *> rows;
        QTRY_COMPARE((rows = itemsNamed(history, u"historyRow"_s)).size(), 1);
        QVERIFY(isVisible(rows[0], u"retryButton"_s));
        QVERIFY(!isVisible(rows[0], u"openButton"_s));
        saveScreenshot(panel.grab(), "filtered");
        click(panel.window(), itemNamed(rows[0], u"copyButton"_s));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), u"Mira & Sol — Échec de sauvegarde"_s);

        QTest::keyClick(&panel.window(), Qt::Key_Down);
        QTest::keyClick(&panel.window(), Qt::Key_Return);
        QVERIFY(panel.settledFace(u"preview-Échec de sauvegarde-Mira & Sol"_s));
    }

    // The file chooser keeps the panel open under it, however long it takes;
    // the file chosen is written and the panel has the focus back.
    void exportsThroughTheFileChooser()
    {
        QTemporaryDir folder;
        PanelUnderTest panel(nullptr, QJsonDocument(QJsonArray{record(u"Harbour Lights"_s, CaptureRecord::Status::saved, 20)}).toJson());
        PanelHost attached(panel.app.panel(), panel.app.updater(), PanelWindow::Presentation::NextToIcon, 100ms);
        QSignalSpy released(&attached, &PanelHost::released);
        panel.app.panel()->onShowHistory();
        attached.showNextTo(QRect());
        QVERIFY(QTest::qWaitForWindowActive(attached.window()));
        QQuickItem *exportButton = nullptr;
        QTRY_VERIFY((exportButton = itemNamed(attached.window()->rootObject(), u"exportButton"_s)));
        click(*attached.window(), exportButton);
        QFileDialog *chooser = nullptr;
        QTRY_VERIFY((chooser = qobject_cast<QFileDialog *>(QApplication::activeModalWidget())));
        QTRY_VERIFY(chooser->isActiveWindow());
        QVERIFY(!released.wait(300));
        QVERIFY(attached.window()->isVisible());

        // Typed in the file name field, as the listener would.
        const QString file = folder.filePath(u"historique.csv"_s);
        auto *name = chooser->findChild<QLineEdit *>(u"fileNameEdit"_s);
        name->clear();
        QTest::keyClicks(name, file);
        QTest::keyClick(name, Qt::Key_Return);
        QTRY_VERIFY(QFile(file).size() > 0);
        QTRY_VERIFY(attached.window()->isActive());
    }

    // The history covers a waiting preview, even across the release of the
    // scene; closing it shows the preview again, the candidate chosen still selected.
    void historyCoversTheSheetAcrossARelease()
    {
        m_music->setCatalog(catalog(3));
        PanelUnderTest panel(m_music.get(), {}, {}, 100ms);
        QQuickItem *preview = panel.open(u"saveButton"_s, u"preview-"_s);
        QVERIFY(preview);
        click(panel.window(), itemsNamed(preview, u"candidate"_s).at(2));
        // As the "--history" start does while a preview waits.
        panel.app.panel()->onShowHistory();
        QVERIFY(panel.settledFace(u"history"_s));

        QSignalSpy released(&panel.host, &PanelHost::released);
        panel.window().hide();
        QVERIFY(released.wait());
        QVERIFY(!panel.host.window());
        QVERIFY(panel.show());
        QVERIFY(panel.clickOn(u"history"_s, u"closeButton"_s));
        QVERIFY(preview = panel.settledFace(u"preview-"_s));
        QVERIFY(itemsNamed(preview, u"candidate"_s).at(2)->property("isSelected").toBool());
        QCOMPARE(released.size(), 1);
    }

    // The click on the tray icon that closes the panel first takes its focus
    // away, which hides it; the toggle that follows must not keep the scene alive.
    void sceneReleasedAfterTheClickThatClosedThePanel()
    {
        PanelUnderTest panel;
        PanelHost attached(panel.app.panel(), panel.app.updater(), PanelWindow::Presentation::NextToIcon, 100ms);
        QSignalSpy released(&attached, &PanelHost::released);
        attached.showNextTo(QRect());
        QVERIFY(QTest::qWaitForWindowActive(attached.window()));
        QWindow elsewhere;
        elsewhere.show();
        elsewhere.requestActivate();
        QTRY_VERIFY(!attached.window()->isVisible());
        attached.toggleNextTo(QRect());
        QVERIFY(released.wait());
    }

    void updateDialog_data()
    {
        QTest::addColumn<QString>("runningVersion");
        QTest::addColumn<QString>("message");

        QTest::newRow("newer version") << "0.1.0" << "Airnote 1.2.0 est disponible (version installée : 0.1.0)";
        QTest::newRow("up to date") << "1.2.0" << "Airnote est à jour";
    }

    void updateDialog()
    {
        QFETCH(QString, runningVersion);
        QFETCH(QString, message);

        PanelUnderTest panel(nullptr, {}, runningVersion);
        QVERIFY(panel.showAndClick(u"updatesButton"_s));
        QTRY_VERIFY(panel.host.updateDialog() && panel.host.updateDialog()->isExposed());
        QQuickWindow *dialog = panel.host.updateDialog();

        QTRY_VERIFY(showsText(dialog->contentItem(), message));
        QCOMPARE(isVisible(dialog->contentItem(), u"downloadLink"_s), runningVersion != "1.2.0");
        saveScreenshot(dialog->grabWindow());
        click(*dialog, itemNamed(dialog->contentItem(), u"okButton"_s));
        QTRY_VERIFY(!dialog->isVisible());
    }

    // The faces in each language, with screenshots side by side. A token server that refuses
    // the connection is told in Qt's words for it, in the interface's language too.
    void speaksTheChosenLanguage_data()
    {
        QTest::addColumn<Language>("language");
        QTest::addColumn<QString>("face");
        QTest::addColumn<QStringList>("texts");

        // One row in English, one in French.
        const auto rows = [](const char *name, const char *face, const QStringList &english, const QStringList &french) {
            QTest::addRow("%s, English", name) << Language::english << face << english;
            QTest::addRow("%s, French", name) << Language::french << face << french;
        };
        rows("now playing", "nowPlaying", {"FIP — now playing", "Save to Apple Music", "History…", "Quit"},
             {"FIP — en ce moment", "Sauver dans Apple Music", "Historique…", "Quitter"});
        rows("preview", "preview-", {"Confirm save", "FIP: Mira & Sol — Harbour Lights  ·  3 results", "Cancel", "Confirm"},
             {"Confirmer la sauvegarde", "FIP : Mira & Sol — Harbour Lights  ·  3 résultats", "Annuler", "Confirmer"});
        rows("history", "history", {"History", "Close", "just now", "5 min. ago", "3 hr. ago", "1 day ago", "2 yr. ago"},
             {"Historique", "Fermer", "à l'instant", "il y a 5 min", "il y a 3 h", "il y a 1 j", "il y a 2 ans"});
        rows("refused connection", "failure-", {"Failed", "Apple Music token unavailable: network: Connection refused"},
             {"Échec", "Token Apple Music indisponible : réseau : Connexion refusée"});
    }

    void speaksTheChosenLanguage()
    {
        QFETCH(Language, language);
        QFETCH(QString, face);
        QFETCH(QStringList, texts);

        m_language.emplace(language);
        const QJsonArray history{
            record(u"Blue Hour"_s, Status::saved, 2 * 365 * 86400 + 86400), record(u"Tides"_s, Status::logged, 86400 + 60),
            record(u"Lanterns"_s, Status::saveFailed, 3 * 3600 + 60), record(u"Night Ferry"_s, Status::noMatch, 5 * 60 + 10),
            record(u"Harbour Nights"_s, Status::saved, 20)};
        auto gone = std::make_unique<FakeAppleMusic>();
        QVERIFY(gone->listen());
        m_music->setCatalog(catalog(3));
        PanelUnderTest panel(face == "failure-"_L1 ? gone.get() : m_music.get(), QJsonDocument(history).toJson());
        gone.reset();  // its port now refuses connections
        panel.app.workflow()->setHoldUnit(5s);
        QVERIFY(panel.showAndPoll());
        if (face != "nowPlaying"_L1)
            QVERIFY(panel.clickOn(u"nowPlaying"_s, face == "history"_L1 ? u"historyButton"_s : u"saveButton"_s));
        // The history's rows come as the file is read.
        const QPointer<QQuickItem> shown = panel.settledFace(face);
        QVERIFY(shown);
        for (const QString &text : texts)
            QTRY_VERIFY2(shown && showsText(shown, text), qPrintable(text));
        saveScreenshot(panel.grab());
    }

    void trayMenuFollowsAuthorization()
    {
        for (const char *label : {"Se déconnecter", "Se connecter à Apple Music"}) {
            if (QByteArray(label).startsWith("Se connecter"))
                qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
            PanelUnderTest panel;
            TrayIcon trayIcon(&panel.host, &panel.app, TrayIcon::Host::xembed);
            QStringList labels;
            for (const QAction *action : trayIcon.contextMenu()->actions())
                labels.append(action->text());
            QCOMPARE(labels, (QStringList{"Ouvrir", "Écouter", "Station", label, QString(), "Quitter"}));
        }
        // Signing out would clear the real keychain, so only the sign-in is run;
        // without a developer token it ends at once, with no browser opened.
        PanelUnderTest panel;
        TrayIcon trayIcon(&panel.host, &panel.app, TrayIcon::Host::xembed);
        QSignalSpy finished(panel.app.authorization(), &MusicAuthorization::signInFinished);
        trayIcon.contextMenu()->actions().at(3)->trigger();
        QTRY_COMPARE(finished.size(), 1);

        // The station submenu chooses, and shows the choice made elsewhere.
        const QList<QAction *> stations = trayIcon.contextMenu()->actions().at(2)->menu()->actions();
        stations.at(2)->trigger();
        QCOMPARE(panel.app.stations()->name(), u"FIP Jazz"_s);
        panel.app.stations()->choose(u"fippop"_s);
        QVERIFY(stations.at(8)->isChecked() && !stations.at(2)->isChecked());
    }

    void listeningRow_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }
    // In both looks; with no audio output, pressing play says why and nothing plays.
    void listeningRow()
    {
        QFETCH(bool, dark);
        std::optional<DarkLook> look;
        if (dark)
            look.emplace();
        PanelUnderTest panel;
        TrayIcon trayIcon(&panel.host, &panel.app, TrayIcon::Host::xembed);
        QVERIFY(panel.showAndPoll());
        QVERIFY(showsText(panel.settledFace(u"nowPlaying"_s), u"Écouter FIP"_s));
        if (!QMediaDevices::audioOutputs().isEmpty())
            QSKIP("this machine has an audio output; tst_playback plays");
        QVERIFY(panel.clickOn(u"nowPlaying"_s, u"playButton"_s));
        QTRY_VERIFY(showsText(panel.content(), u"Aucune sortie audio : écoute impossible"_s));
        QCOMPARE(trayIcon.contextMenu()->actions().at(1)->text(), u"Écouter"_s);
        saveScreenshot(panel.grab());
    }

    // The picker answers the keyboard; the header and the poller follow at once.
    void stationPicker()
    {
        PanelUnderTest panel;
        QVERIFY(panel.showAndPoll());
        QQuickItem *picker = itemNamed(panel.settledFace(u"nowPlaying"_s), u"stationPicker"_s);
        QVERIFY(picker);
        picker->forceActiveFocus(Qt::TabFocusReason);
        const QString rockPath = QString(stationPath).replace(u"/7/"_s, u"/64/"_s);
        QCOMPARE(requestCount(rockPath), 0);
        QTest::keyClick(&panel.window(), Qt::Key_Down);
        QTRY_VERIFY(showsText(panel.content(), u"FIP Rock — en ce moment"_s));
        QTRY_COMPARE(requestCount(rockPath), 1);
        saveScreenshot(panel.grab());
    }

    // An XEmbed tray that starts after us, then goes, is seen both times.
    void xembedTrayIsFollowed()
    {
        XEmbedTrayWatcher watcher;
        QVERIFY(!watcher.trayPresent());
        QProcess trayer;
        trayer.start(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--transparent"_s, u"false"_s});
        QVERIFY2(trayer.waitForStarted(), "trayer is missing (scripts/install-deps)");
        QTRY_VERIFY_WITH_TIMEOUT(watcher.trayPresent(), 10000);
        trayer.kill();
        trayer.waitForFinished();
        QTRY_VERIFY_WITH_TIMEOUT(!watcher.trayPresent(), 10000);
    }
};

QTEST_MAIN(UiTest)
#include "tst_ui.moc"
