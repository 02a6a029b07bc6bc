#include "app/AirnoteApp.h"
#include "support/TestServices.h"
#include "fakes/FakeAppleMusic.h"
#include "fakes/LoopbackHttpServer.h"
#include "history/CaptureRecord.h"
#include "platform/MusicAuthorization.h"
#include "station/FIPMetadataService.h"
#include "ui/ConfidenceGrade.h"
#include "ui/PanelWindow.h"
#include "ui/RelativeTime.h"
#include "ui/TrayIcon.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QNetworkAccessManager>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

using namespace airnote;
using namespace airnote::fakes;
using namespace std::chrono_literals;
using Endpoint = FakeAppleMusic::Endpoint;

namespace {

const QString stationPath = QStringLiteral("/livemeta/live/7/webrf_fip_player");
const QColor coverColour(200, 40, 120);
const QColor artworkColour(30, 150, 200);

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(AIRNOTE_FIXTURES_DIR "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

// The live fixture with its "now" entry changed by edit.
QByteArray editedLiveDocument(const std::function<void(QJsonObject &)> &edit)
{
    QJsonObject document = QJsonDocument::fromJson(fixture(QStringLiteral("station-live.json"))).object();
    QJsonObject now = document.value(QStringLiteral("now")).toObject();
    edit(now);
    document.insert(QStringLiteral("now"), now);
    return QJsonDocument(document).toJson();
}

// A flat colour survives lossy codecs, such as the WebP of the station's covers.
QByteArray flatImage(const QColor &colour, const char *format)
{
    QImage image(400, 400, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

HttpReply stationReply(const QString &name)
{
    if (name == QLatin1String("live"))
        return HttpReply::json(200, fixture(QStringLiteral("station-live.json")));
    if (name == QLatin1String("segment"))
        return HttpReply::json(200, fixture(QStringLiteral("station-segment.json")));
    if (name == QLatin1String("liveWithoutCover"))
        return HttpReply::json(200, editedLiveDocument([](QJsonObject &now) { now.remove(QStringLiteral("cover")); }));
    if (name == QLatin1String("liveWithLongTitle")) {
        return HttpReply::json(200, editedLiveDocument([](QJsonObject &now) {
            now.insert(QStringLiteral("firstLine"),
                       QStringLiteral("Concerto pour piano et orchestre en sol majeur, deuxième mouvement : adagio assai, "
                                      "version enregistrée en public au festival d'Aix-en-Provence"));
        }));
    }
    if (name == QLatin1String("hang"))
        return HttpReply::hangForever();
    return HttpReply::text(name.toInt(), "station trouble");
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

// The view's pixels once it has caught up with its content: a grab lays the
// content out, the view then resizes, and the X server applies the new size later.
QImage settledGrab(QQuickView &view)
{
    QImage image;
    const bool settled = QTest::qWaitFor([&] {
        image = view.grabWindow();
        return view.size() == view.rootObject()->size().toSize()
            && image.size() == view.size() * image.devicePixelRatio();
    });
    if (!settled)
        qWarning() << "the view never matched its content's size" << image.size();
    return image;
}

QColor pixelAt(const QImage &image, QQuickItem *item, QPointF relative = {0.5, 0.5})
{
    const QPointF point = item->mapToScene(QPointF(item->width() * relative.x(), item->height() * relative.y()))
        * image.devicePixelRatio();
    return image.pixelColor(point.toPoint());
}

int colourDistance(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue());
}

bool itemShowsColour(const QImage &image, QQuickItem *item, const QColor &colour)
{
    const qreal ratio = image.devicePixelRatio();
    const QRect area = QTransform::fromScale(ratio, ratio).mapRect(item->mapRectToScene(item->boundingRect())).toRect()
        & image.rect();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (colourDistance(image.pixelColor(x, y), colour) < 30)
                return true;
        }
    }
    return false;
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

// Named after the test function and its data row.
void saveScreenshot(const QImage &image)
{
    const QString folder = QStringLiteral(AIRNOTE_TEST_OUTPUT_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString row = QString::fromUtf8(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
    const QString name = QStringLiteral("%1-%2.png").arg(QLatin1String(QTest::currentTestFunction()), row);
    QVERIFY(image.save(folder + QLatin1Char('/') + name));
}

QPalette darkPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(40, 40, 42));
    palette.setColor(QPalette::WindowText, QColor(236, 236, 236));
    palette.setColor(QPalette::Highlight, QColor(10, 132, 255));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

// The catalog's answer to a search, as the web API shapes it.
QByteArray searchDocument(const QJsonArray &songs)
{
    const QJsonObject results{{QStringLiteral("songs"), QJsonObject{{QStringLiteral("data"), songs}}}};
    return QJsonDocument(QJsonObject{{QStringLiteral("results"), results}}).toJson();
}

CaptureRecord record(const QString &title, CaptureRecord::Status status, qint64 secondsAgo)
{
    return CaptureRecord(QUuid::createUuid(), QDateTime::currentDateTimeUtc().addSecs(-secondsAgo),
                         QStringLiteral("Mira & Sol"), title, std::nullopt, std::nullopt, std::nullopt, status,
                         std::nullopt);
}

bool writeFile(const QString &fileName, const QByteArray &contents)
{
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

QByteArray historyDocument(const QList<CaptureRecord> &oldestFirst)
{
    QJsonArray records;
    for (const CaptureRecord &each : oldestFirst)
        records.append(each.toJson());
    return QJsonDocument(records).toJson();
}

QStringList textsOf(const QList<QQuickItem *> &items)
{
    QStringList result;
    for (const QQuickItem *item : items)
        result.append(item->property("text").toString());
    return result;
}

void click(QQuickWindow &window, QQuickItem *item)
{
    QTest::mouseClick(&window, Qt::LeftButton, {}, item->mapToScene(item->boundingRect().center()).toPoint());
}

// The real panel window over a real poller. The poller's waits last minutes,
// so every poll after the first is one the test (or the panel) asked for.
struct PanelUnderTest
{
    // Changes the test services before the app takes them.
    using Adjustment = std::function<void(AirnoteApp::Services &, QNetworkAccessManager *)>;

    explicit PanelUnderTest(const QUrl &stationURL, FakeAppleMusic *music = nullptr, const Adjustment &adjust = {})
        : app(servicesFor(stationURL, music, adjust))
        , fip(*app.fip())
        , window(&app, PanelWindow::Presentation::Windowed)
    {
        fip.setWaitUnit(1min);
    }

    AirnoteApp::Services servicesFor(const QUrl &stationURL, FakeAppleMusic *music, const Adjustment &adjust)
    {
        AirnoteApp::Services services = testing::servicesFor(&network, stationURL, home.path(), music);
        if (adjust)
            adjust(services, &network);
        return services;
    }

    QQuickItem *content() const { return window.rootObject(); }

    // The face frames on screen, one fading out included.
    QList<QQuickItem *> faces() const { return itemsNamed(content(), QStringLiteral("face")); }

    // The face whose key starts with keyStart, once it is alone, opaque, and
    // the window has taken its size, so that clicks land where its items are.
    QQuickItem *settledFace(const QString &keyStart) const
    {
        const bool settled = QTest::qWaitFor([&] {
            const QList<QQuickItem *> shown = faces();
            return shown.size() == 1 && shown[0]->property("key").toString().startsWith(keyStart)
                && shown[0]->opacity() == 1.0 && window.size() == content()->size().toSize();
        }, 10000);
        return settled ? faces().constFirst() : nullptr;
    }

    // Active, so that the sheets' keyboard shortcuts answer.
    bool showAndPoll()
    {
        window.show();
        window.requestActivate();
        if (!QTest::qWaitForWindowActive(&window))
            return false;
        return QTest::qWaitFor([this] { return fip.hasCurrent(); });
    }

    // From the save button to the preview of the search's candidates.
    QQuickItem *openPreview()
    {
        QQuickItem *nowPlaying = settledFace(QStringLiteral("nowPlaying"));
        if (!nowPlaying)
            return nullptr;
        click(window, itemNamed(nowPlaying, QStringLiteral("saveButton")));
        return settledFace(QStringLiteral("preview-"));
    }

    QTemporaryDir home;
    QNetworkAccessManager network;
    AirnoteApp app;
    FIPMetadataService &fip;
    PanelWindow window;
};

} // namespace

class UiTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void nowPlayingFaces_data();
    void nowPlayingFaces();
    void appearingPanelPollsAtOnce();
    void statusCard_data();
    void statusCard();
    void placement_data();
    void placement();
    void confidenceBadge_data();
    void confidenceBadge();
    void relativeTime_data();
    void relativeTime();
    void saveFlowFaces_data();
    void saveFlowFaces();
    void previewKeysAndSelection_data();
    void previewKeysAndSelection();
    void historyFaces_data();
    void historyFaces();
    void historyShowsOverASheet();
    void updateDialog_data();
    void updateDialog();
    void trayMenuFollowsAuthorization_data();
    void trayMenuFollowsAuthorization();

private:
    // Replies to the station requests in order, the last one repeating.
    void serveStation(const QStringList &script);
    qsizetype stationRequestCount() const;
    // The first candidates of a catalog whose songs all match the track on air.
    QJsonArray catalog(qsizetype candidates) const;

    LoopbackHttpServer m_server;
    QByteArray m_cover;
    QByteArray m_artwork;
    int m_feedStatus = 200;
    std::unique_ptr<FakeAppleMusic> m_music;
};

void UiTest::initTestCase()
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

void UiTest::init()
{
    m_server.clearRequests();
    m_music = std::make_unique<FakeAppleMusic>();
    QVERIFY(m_music->listen());
    qputenv("AIRNOTE_MUSIC_USER_TOKEN", m_music->musicUserToken().toUtf8());
}

void UiTest::cleanup()
{
    QApplication::setPalette(QPalette());
    m_music.reset();
    qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
}

void UiTest::serveStation(const QStringList &script)
{
    auto answered = std::make_shared<qsizetype>(0);
    m_server.setHandler([this, script, answered](const HttpRequest &request) {
        if (request.path.startsWith(QLatin1String("/pikapi/images/")))
            return HttpReply{.status = 200, .body = m_cover, .contentType = "image/webp"};
        if (request.path.startsWith(QLatin1String("/artwork/")))
            return HttpReply{.status = 200, .body = m_artwork, .contentType = "image/png"};
        if (request.path == QLatin1String("/appcast.xml")) {
            return m_feedStatus == 200 ? HttpReply{.status = 200, .body = fixture(QStringLiteral("appcast.xml")),
                                                   .contentType = "application/rss+xml"}
                                       : HttpReply::text(m_feedStatus, "feed trouble");
        }
        return stationReply(script.at(std::min((*answered)++, script.size() - 1)));
    });
}

qsizetype UiTest::stationRequestCount() const
{
    return std::count_if(m_server.requests().cbegin(), m_server.requests().cend(),
                         [](const HttpRequest &request) { return request.path == stationPath; });
}

QJsonArray UiTest::catalog(qsizetype candidates) const
{
    const QString artwork = m_server.url().toString() + QStringLiteral("/artwork/%1/{w}x{h}bb.png");
    const QList<QJsonObject> songs{
        FakeAppleMusic::songResource(QStringLiteral("1712000001"), QStringLiteral("Harbour Lights"),
                                     QStringLiteral("Mira & Sol"), QStringLiteral("Tides"), artwork.arg(1712000001)),
        FakeAppleMusic::songResource(QStringLiteral("1712000042"), QStringLiteral("Harbor Lights"),
                                     QStringLiteral("Mira & Sol"), {}, artwork.arg(1712000042)),
        FakeAppleMusic::songResource(QStringLiteral("1712000077"), QStringLiteral("Harbour Lights"),
                                     QStringLiteral("The Lanterns")),
    };
    QJsonArray chosen;
    for (const QJsonObject &song : songs.first(candidates))
        chosen.append(song);
    return chosen;
}

void UiTest::nowPlayingFaces_data()
{
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<QString>("artwork");
    QTest::addColumn<bool>("dark");
    QTest::addColumn<QString>("hovered");
    QTest::addColumn<QString>("toolTip");

    const QStringList musicShown{QStringLiteral("trackBlock"), QStringLiteral("saveButton")};
    QTest::newRow("track with its cover") << QStringList{"live"} << musicShown << "cover" << false << "" << "";
    QTest::newRow("dark palette") << QStringList{"live"} << musicShown << "cover" << true << "" << "";
    QTest::newRow("track without cover")
        << QStringList{"liveWithoutCover"} << musicShown << "placeholder" << false << "" << "";
    QTest::newRow("cover gone at the next poll")
        << QStringList{"live", "liveWithoutCover"} << musicShown << "placeholder" << false << "" << "";
    QTest::newRow("long title") << QStringList{"liveWithLongTitle"} << musicShown << "cover" << false << "" << "";
    QTest::newRow("first poll in flight") << QStringList{"hang"} << QStringList{"loadingMessage", "fetchingIndicator"}
                                          << "" << false << "fetchingIndicator" << "Mise à jour…";
    QTest::newRow("programme segment") << QStringList{"segment"} << QStringList{"noMusicMessage"} << "" << false << ""
                                       << "";
    QTest::newRow("unreachable after a track")
        << QStringList{"live", "500", "500", "500"} << (musicShown + QStringList{"unreachableWarning"}) << "cover"
        << false << "unreachableWarning" << "FIP injoignable";
    QTest::newRow("fetch while unreachable")
        << QStringList{"live", "500", "404", "500", "hang"} << (musicShown + QStringList{"fetchingIndicator"})
        << "cover" << false << "" << "";
}

void UiTest::nowPlayingFaces()
{
    QFETCH(QStringList, script);
    QFETCH(QStringList, shown);
    QFETCH(QString, artwork);
    QFETCH(bool, dark);
    QFETCH(QString, hovered);
    QFETCH(QString, toolTip);

    if (dark)
        QApplication::setPalette(darkPalette());
    serveStation(script);
    PanelUnderTest panel(m_server.url(stationPath));
    panel.window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel.window));

    auto *artworkItem = panel.content()->findChild<QQuickItem *>(QStringLiteral("artwork"));
    QVERIFY(artworkItem);
    const auto artworkSettled = [artworkItem] {
        return artworkItem->property("source").toUrl().isEmpty() || artworkItem->property("isLoaded").toBool();
    };
    for (qsizetype poll = 1; poll <= script.size(); ++poll) {
        QTRY_COMPARE(stationRequestCount(), poll);
        if (poll < script.size()) {
            // Each poll's outcome is on screen before the next one starts.
            QTRY_VERIFY(panel.fip.isWaiting());
            QTRY_VERIFY(artworkSettled());
            panel.fip.cutWaitShort();
        }
    }
    if (script.constLast() == QLatin1String("hang"))
        QTRY_VERIFY(panel.fip.isFetching());
    else
        QTRY_VERIFY(panel.fip.isWaiting());
    if (artwork == QLatin1String("cover"))
        QTRY_VERIFY(artworkItem->property("isLoaded").toBool());

    const QStringList faceParts{"trackBlock", "saveButton", "loadingMessage", "noMusicMessage",
                                "fetchingIndicator", "unreachableWarning"};
    for (const QString &part : faceParts)
        QVERIFY2(isVisible(panel.content(), part) == shown.contains(part), qPrintable(part));
    const QImage image = settledGrab(panel.window);
    QCOMPARE(panel.content()->width(), 320.0);
    // The window follows its content as the track block comes and goes.
    QCOMPARE(panel.window.size(), panel.content()->size().toSize());
    const QColor background = pixelAt(image, panel.content(), {0.5, 0.02});
    QCOMPARE(background.lightness() < 128, dark);
    if (artwork == QLatin1String("cover")) {
        QVERIFY2(colourDistance(pixelAt(image, artworkItem), coverColour) < 24,
                 "the artwork shows the served cover");
    } else if (artwork == QLatin1String("placeholder")) {
        const QColor placeholder = pixelAt(image, artworkItem);
        QVERIFY(colourDistance(placeholder, coverColour) > 100);
        QVERIFY(colourDistance(placeholder, background) < 40);
    }

    if (shown.contains(QStringLiteral("trackBlock"))) {
        auto *title = panel.content()->findChild<QQuickItem *>(QStringLiteral("trackTitle"));
        auto *artist = panel.content()->findChild<QQuickItem *>(QStringLiteral("trackArtist"));
        QCOMPARE(title->property("text").toString(), panel.fip.current()->title);
        QCOMPARE(artist->property("text").toString(), QStringLiteral("Mira & Sol"));
        QVERIFY(title->property("lineCount").toInt() <= 2);
        QCOMPARE(title->property("truncated").toBool(), script.contains(QStringLiteral("liveWithLongTitle")));
        QVERIFY(!isVisible(panel.content(), QStringLiteral("trackAlbum")));
        auto *saveButton = panel.content()->findChild<QQuickItem *>(QStringLiteral("saveButton"));
        QVERIFY2(itemShowsColour(image, saveButton, QApplication::palette().color(QPalette::HighlightedText)),
                 "the save button's label stands out on the accent colour");
    }

    if (!hovered.isEmpty()) {
        QVERIFY(!showsText(panel.window.contentItem(), toolTip));
        auto *item = panel.content()->findChild<QQuickItem *>(hovered);
        // Qt drops a move to where the pointer already is, such as the previous row's spot.
        QTest::mouseMove(&panel.window, QPoint(1, 1));
        QTest::mouseMove(&panel.window, item->mapToScene(item->boundingRect().center()).toPoint());
        QTRY_VERIFY(showsText(panel.window.contentItem(), toolTip));
    }

    saveScreenshot(settledGrab(panel.window));
}

void UiTest::appearingPanelPollsAtOnce()
{
    serveStation({QStringLiteral("live")});
    PanelUnderTest panel(m_server.url(stationPath));
    QTest::qWait(0);
    QCOMPARE(stationRequestCount(), 0);

    panel.window.show();
    QTRY_COMPARE(stationRequestCount(), 1);
    QTRY_VERIFY(panel.fip.isWaiting());

    // Reopened during a wait of five minutes: the panel must not show a stale track.
    panel.window.hide();
    panel.window.show();
    QTRY_COMPARE(stationRequestCount(), 2);
    QTRY_VERIFY(panel.fip.isWaiting());
    QCOMPARE(stationRequestCount(), 2);
}

void UiTest::statusCard_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("subtitle");
    QTest::addColumn<int>("iconHue");

    QTest::newRow("loading") << "loading" << "Recherche dans Apple Music…" << "" << -1;
    QTest::newRow("success") << "success" << "Sauvé dans Apple Music" << "Harbour Lights — Mira & Sol" << 135;
    QTest::newRow("info") << "info" << "Déjà sauvé récemment" << "" << 211;
    QTest::newRow("long failure")
        << "failure" << "Échec"
        << "Apple Music a refusé la requête (403) : le jeton de l'utilisateur a expiré ou a été révoqué. "
           "Reconnectez-vous à Apple Music depuis le panneau, puis réessayez de sauver le morceau. "
           "Si le problème persiste, vérifiez votre abonnement et la connexion réseau de l'ordinateur."
        << 35;
}

void UiTest::statusCard()
{
    QFETCH(QString, kind);
    QFETCH(QString, title);
    QFETCH(QString, subtitle);
    QFETCH(int, iconHue);

    QQuickView view;
    view.setResizeMode(QQuickView::SizeViewToRootObject);
    view.setColor(QApplication::palette().color(QPalette::Window));
    view.setInitialProperties({{"kind", kind}, {"title", title}, {"subtitle", subtitle}});
    view.setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Airnote/UI/StatusView.qml")));
    QVERIFY2(view.status() == QQuickView::Ready, qPrintable(view.errors().value(0).toString()));
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QQuickItem *card = view.rootObject();

    QCOMPARE(card->width(), 360.0);
    QCOMPARE(isVisible(card, QStringLiteral("statusSpinner")), kind == QLatin1String("loading"));
    QCOMPARE(isVisible(card, QStringLiteral("statusSubtitle")), !subtitle.isEmpty());
    if (subtitle.isEmpty()) {
        // The one-line title sits beside the 32-point icon, nothing under it.
        QCOMPARE(card->height(), 16 + 32 + 16.0);
    } else {
        auto *subtitleItem = card->findChild<QQuickItem *>(QStringLiteral("statusSubtitle"));
        QVERIFY(subtitleItem->property("lineCount").toInt() <= 3);
        QCOMPARE(subtitleItem->property("truncated").toBool(), subtitle.size() > 200);
    }
    if (iconHue >= 0) {
        // Sampled in the lower part of the symbol, where every one of them is solid.
        auto *icon = card->findChild<QQuickItem *>(QStringLiteral("statusIcon"));
        const QColor tint = pixelAt(settledGrab(view), icon, {0.5, 19.5 / 24});
        QVERIFY2(std::abs(tint.hslHue() - iconHue) < 15, qPrintable(tint.name()));
    }

    saveScreenshot(settledGrab(view));
}

void UiTest::placement_data()
{
    QTest::addColumn<QRect>("anchor");
    QTest::addColumn<QPoint>("expected");

    QTest::newRow("top bar, middle") << QRect(600, 0, 24, 24) << QPoint(451, 24);
    QTest::newRow("top bar, right corner") << QRect(1250, 0, 24, 24) << QPoint(960, 24);
    QTest::newRow("bottom bar, left corner") << QRect(4, 776, 24, 24) << QPoint(0, 576);
    QTest::newRow("cursor in the middle") << QRect(640, 300, 1, 1) << QPoint(480, 301);
}

void UiTest::placement()
{
    QFETCH(QRect, anchor);
    QFETCH(QPoint, expected);

    QCOMPARE(PanelWindow::placement(anchor, QSize(320, 200), QRect(0, 0, 1280, 800)), expected);
}

void UiTest::confidenceBadge_data()
{
    QTest::addColumn<double>("confidence");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("colour");

    QTest::newRow("certain") << 1.0 << "100%" << "green";
    QTest::newRow("at the green threshold") << 0.85 << "85%" << "green";
    QTest::newRow("just under it") << 0.8499 << "84%" << "orange";
    QTest::newRow("truncated, not rounded") << 0.999 << "99%" << "green";
    QTest::newRow("at the orange threshold") << 0.5 << "50%" << "orange";
    QTest::newRow("under it") << 0.49 << "49%" << "red";
}

void UiTest::confidenceBadge()
{
    QFETCH(double, confidence);
    QFETCH(QString, text);
    QFETCH(QString, colour);

    QCOMPARE(ConfidenceGrade::text(confidence), text);
    QCOMPARE(ConfidenceGrade::colourName(confidence), colour);
}

void UiTest::relativeTime_data()
{
    QTest::addColumn<qint64>("secondsAgo");
    QTest::addColumn<QString>("text");

    QTest::newRow("just now") << qint64(59) << "à l'instant";
    QTest::newRow("clock set back") << qint64(-300) << "à l'instant";
    QTest::newRow("minutes, truncated") << qint64(3 * 60 + 59) << "il y a 3 min";
    QTest::newRow("last minute of the hour") << qint64(3599) << "il y a 59 min";
    QTest::newRow("hours") << qint64(2 * 3600 + 1800) << "il y a 2 h";
    QTest::newRow("days") << qint64(5 * 86400) << "il y a 5 j";
    QTest::newRow("months") << qint64(65 * 86400) << "il y a 2 mois";
    QTest::newRow("one year") << qint64(400 * 86400) << "il y a 1 an";
    QTest::newRow("years") << qint64(3 * 366 * 86400) << "il y a 3 ans";
}

void UiTest::relativeTime()
{
    QFETCH(qint64, secondsAgo);
    QFETCH(QString, text);

    const QDateTime now = QDateTime::currentDateTimeUtc();
    QCOMPARE(RelativeTime::since(now.addSecs(-secondsAgo), now), text);
}

void UiTest::saveFlowFaces_data()
{
    QTest::addColumn<int>("candidates");
    QTest::addColumn<QString>("setup");
    QTest::addColumn<bool>("confirm");
    QTest::addColumn<QString>("shownKey");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("hidden");

    const QString onAir = QStringLiteral("Mira & Sol — Harbour Lights");
    const QStringList previewParts{"summary", "candidate", "confirmButton"};
    const QStringList emptyParts{"notFound", "logForLaterButton"};
    QTest::newRow("searching") << 1 << "slow search" << false << "searching-"
                               << QStringList{"Recherche dans Apple Music…", onAir} << QStringList{};
    QTest::newRow("preview with one candidate")
        << 1 << "" << false << "preview-"
        << QStringList{"Confirmer la sauvegarde", "FIP : " + onAir + "  ·  1 résultat", "Tides", "100%"} << emptyParts;
    QTest::newRow("preview with three candidates")
        << 3 << "" << false << "preview-" << QStringList{"FIP : " + onAir + "  ·  3 résultats", "100%"} << emptyParts;
    QTest::newRow("preview without candidates")
        << 0 << "" << false << "preview-"
        << QStringList{"Pas trouvé dans Apple Music", "FIP joue : " + onAir, "Annuler", "Logger pour plus tard"}
        << previewParts;
    QTest::newRow("saving") << 1 << "slow addition" << true << "saving-" << QStringList{"Sauvegarde…", onAir}
                            << QStringList{};
    QTest::newRow("success") << 1 << "" << true << "success-" << QStringList{"Sauvé dans Apple Music", onAir}
                             << QStringList{};
    QTest::newRow("already saved") << 1 << "recent save" << false << "already-"
                                   << QStringList{"Déjà sauvé récemment", onAir} << QStringList{};
    QTest::newRow("failure with a long message")
        << 1 << "failing addition" << true << "failure-" << QStringList{"Échec"} << QStringList{};
}

void UiTest::saveFlowFaces()
{
    QFETCH(int, candidates);
    QFETCH(QString, setup);
    QFETCH(bool, confirm);
    QFETCH(QString, shownKey);
    QFETCH(QStringList, texts);
    QFETCH(QStringList, hidden);

    serveStation({QStringLiteral("live")});
    m_music->setCatalog(catalog(candidates));
    if (setup == QLatin1String("slow search"))
        m_music->replyNext(Endpoint::catalogSearch,
                           HttpReply{.status = 200, .body = searchDocument(catalog(candidates)), .delay = 3s});
    if (setup == QLatin1String("slow addition"))
        m_music->replyNext(Endpoint::libraryAddition, HttpReply{.status = 202, .body = {}, .delay = 3s});
    if (setup == QLatin1String("failing addition")) {
        m_music->replyNext(Endpoint::libraryAddition,
                           HttpReply::text(503, "Le service de bibliothèque est momentanément indisponible pour "
                                                "cause de maintenance programmée de l'infrastructure de stockage. "
                                                "Les demandes d'ajout reçues pendant cette fenêtre sont refusées et "
                                                "doivent être renvoyées plus tard par l'application cliente."));
    }
    PanelUnderTest panel(m_server.url(stationPath), m_music.get());
    // Long enough to see the outcome cards; the test ends before they go.
    panel.app.setHoldUnit(5s);
    if (setup == QLatin1String("recent save")) {
        const QList<CaptureRecord> saved{record(QStringLiteral("Harbour Lights"), CaptureRecord::Status::saved, 60)};
        QVERIFY(writeFile(panel.app.store()->fileName(), historyDocument(saved)));
    }
    QVERIFY(panel.showAndPoll());

    QQuickItem *nowPlaying = panel.settledFace(QStringLiteral("nowPlaying"));
    QVERIFY(nowPlaying);
    click(panel.window, itemNamed(nowPlaying, QStringLiteral("saveButton")));
    if (confirm) {
        QVERIFY(panel.settledFace(QStringLiteral("preview-")));
        QTest::keyClick(&panel.window, Qt::Key_Return);
    }
    QQuickItem *face = panel.settledFace(shownKey);
    QVERIFY2(face, qPrintable(panel.app.sheetKey()));
    for (const QString &text : texts)
        QVERIFY2(showsText(face, text), qPrintable(text));
    for (const QString &part : hidden)
        QVERIFY2(!isVisible(face, part), qPrintable(part));

    if (shownKey == QLatin1String("preview-") && candidates > 0) {
        const QList<QQuickItem *> cards = itemsNamed(face, QStringLiteral("candidate"));
        QCOMPARE(cards.size(), candidates);
        QVERIFY2(cards[0]->property("isSelected").toBool(), "the best candidate is selected on appearance");
        const QList<QQuickItem *> artworks = itemsNamed(face, QStringLiteral("candidateArtwork"));
        QTRY_VERIFY(artworks[0]->property("isLoaded").toBool());
        QVERIFY(std::any_of(m_server.requests().cbegin(), m_server.requests().cend(), [](const HttpRequest &request) {
            return request.path == QLatin1String("/artwork/1712000001/112x112bb.png");
        }));
        const QImage image = settledGrab(panel.window);
        QVERIFY(colourDistance(pixelAt(image, artworks[0]), artworkColour) < 24);
        if (candidates == 3) {
            QVERIFY2(colourDistance(pixelAt(image, artworks[2]), artworkColour) > 100, "a song without artwork");
            // The light palette's green, green and orange.
            const QList<QColor> tints{QColor("#34c759"), QColor("#34c759"), QColor("#ff9500")};
            const QList<QQuickItem *> badges = itemsNamed(face, QStringLiteral("confidenceBadge"));
            QCOMPARE(textsOf(badges), (QStringList{"100%", "99%", "68%"}));
            for (qsizetype index = 0; index < badges.size(); ++index)
                QCOMPARE(badges[index]->property("color").value<QColor>(), tints[index]);
        }
    }
    if (shownKey == QLatin1String("failure-")) {
        auto *subtitle = itemNamed(face, QStringLiteral("statusSubtitle"));
        QVERIFY(subtitle->property("text").toString().contains(QStringLiteral("maintenance programmée")));
        QVERIFY(subtitle->property("truncated").toBool());
    }
    saveScreenshot(settledGrab(panel.window));

    // Requests still in flight would outlive the services.
    if (setup == QLatin1String("slow search"))
        QVERIFY(panel.settledFace(QStringLiteral("preview-")));
    if (setup == QLatin1String("slow addition"))
        QVERIFY(panel.settledFace(QStringLiteral("success-")));
}

void UiTest::previewKeysAndSelection_data()
{
    QTest::addColumn<int>("candidates");
    QTest::addColumn<int>("pressed");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("immediately");
    QTest::addColumn<QStringList>("library");

    const int returnKey = Qt::Key_Return;
    const int escapeKey = Qt::Key_Escape;
    QTest::newRow("return confirms the only candidate")
        << 1 << -1 << returnKey << "saving-Harbour Lights-1712000001" << QStringList{"1712000001"};
    QTest::newRow("return confirms the card pressed last")
        << 3 << 2 << returnKey << "saving-Harbour Lights-1712000077" << QStringList{"1712000077"};
    QTest::newRow("escape cancels") << 3 << 1 << escapeKey << "nowPlaying" << QStringList{};
    QTest::newRow("escape cancels the empty sheet") << 0 << -1 << escapeKey << "nowPlaying" << QStringList{};
    QTest::newRow("return does nothing without candidates")
        << 0 << -1 << returnKey << "preview-Harbour Lights-Mira & Sol" << QStringList{};
}

void UiTest::previewKeysAndSelection()
{
    QFETCH(int, candidates);
    QFETCH(int, pressed);
    QFETCH(int, key);
    QFETCH(QString, immediately);
    QFETCH(QStringList, library);

    serveStation({QStringLiteral("live")});
    m_music->setCatalog(catalog(candidates));
    PanelUnderTest panel(m_server.url(stationPath), m_music.get());
    panel.app.setHoldUnit(1ms);
    QVERIFY(panel.showAndPoll());
    QQuickItem *preview = panel.openPreview();
    QVERIFY(preview);

    const QList<QQuickItem *> cards = itemsNamed(preview, QStringLiteral("candidate"));
    if (pressed >= 0) {
        click(panel.window, cards[pressed]);
        for (qsizetype index = 0; index < cards.size(); ++index)
            QCOMPARE(cards[index]->property("isSelected").toBool(), index == pressed);
    }
    QTest::keyClick(&panel.window, Qt::Key(key));

    QCOMPARE(panel.app.hasSheet() ? panel.app.sheetKey() : panel.app.face(), immediately);
    // The new face fades in while the old one fades out; nothing moves when nothing changed.
    QCOMPARE(panel.faces().size(), immediately.startsWith(QLatin1String("preview-")) ? 1 : 2);
    // A confirmation runs on to the end of its save.
    QVERIFY(panel.settledFace(library.isEmpty() ? immediately : QStringLiteral("nowPlaying")));
    QCOMPARE(m_music->library(), library);
    QCOMPARE(m_music->requestsTo(Endpoint::libraryAddition).size(), library.size());
    QCOMPARE(QFile::exists(panel.app.store()->fileName()), !library.isEmpty());
}

void UiTest::historyFaces_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QStringList>("times");
    QTest::addColumn<bool>("scrolls");

    using Status = CaptureRecord::Status;
    const QList<CaptureRecord> fourStatuses{
        record(QStringLiteral("Noté pour plus tard"), Status::logged, 2 * 86400 + 60),
        record(QStringLiteral("Échec de sauvegarde"), Status::saveFailed, 3 * 3600 + 60),
        record(QStringLiteral("Introuvable dans le catalogue"), Status::noMatch, 5 * 60 + 10),
        record(QStringLiteral("Harbour Lights, version longue enregistrée en public au festival"), Status::saved, 20),
    };
    QList<CaptureRecord> many;
    for (int index = 1; index <= 60; ++index)
        many.append(record(QStringLiteral("Morceau %1").arg(index), Status::saved, (61 - index) * 600));

    QTest::newRow("all four statuses")
        << historyDocument(fourStatuses)
        << QStringList{"Harbour Lights, version longue enregistrée en public au festival",
                       "Introuvable dans le catalogue", "Échec de sauvegarde", "Noté pour plus tard"}
        << QStringList{"à l'instant", "il y a 5 min", "il y a 3 h", "il y a 2 j"} << false;
    QTest::newRow("more rows than fit") << historyDocument(many)
                                        << QStringList{"Morceau 60", "Morceau 59", "Morceau 58"}
                                        << QStringList{"il y a 10 min", "il y a 20 min", "il y a 30 min"} << true;
    QTest::newRow("no history") << QByteArray() << QStringList{} << QStringList{} << false;
    QTest::newRow("unreadable history") << QByteArray("[{\"id\": 12") << QStringList{} << QStringList{} << false;
}

void UiTest::historyFaces()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, titles);
    QFETCH(QStringList, times);
    QFETCH(bool, scrolls);

    serveStation({QStringLiteral("live")});
    PanelUnderTest panel(m_server.url(stationPath));
    if (!file.isEmpty())
        QVERIFY(writeFile(panel.app.store()->fileName(), file));
    QVERIFY(panel.showAndPoll());
    QSignalSpy loaded(&panel.app, &AirnoteApp::historyLoaded);
    click(panel.window, itemNamed(panel.settledFace(QStringLiteral("nowPlaying")), QStringLiteral("historyButton")));
    QQuickItem *history = panel.settledFace(QStringLiteral("history"));
    QVERIFY(history);
    QTRY_COMPARE(loaded.size(), 1);

    QCOMPARE(isVisible(history, QStringLiteral("emptyMessage")), titles.isEmpty());
    auto *list = itemNamed(history, QStringLiteral("historyList"));
    QCOMPARE(list->isVisible(), !titles.isEmpty());
    if (!titles.isEmpty()) {
        QList<QQuickItem *> rows;
        QTRY_VERIFY((rows = itemsNamed(list, QStringLiteral("historyRow"))).size() >= titles.size());
        std::sort(rows.begin(), rows.end(), [](QQuickItem *a, QQuickItem *b) { return a->y() < b->y(); });
        QStringList shownTitles;
        QStringList shownTimes;
        for (QQuickItem *row : rows.first(titles.size())) {
            shownTitles.append(itemNamed(row, QStringLiteral("historyTitle"))->property("text").toString());
            shownTimes.append(itemNamed(row, QStringLiteral("historyTime"))->property("text").toString());
        }
        QCOMPARE(shownTitles, titles);
        QCOMPARE(shownTimes, times);
        QVERIFY2(itemNamed(rows[0], QStringLiteral("historyTitle"))->property("lineCount").toInt() == 1,
                 "titles keep to one line");
        QCOMPARE(isVisible(list, QStringLiteral("historyScrollBar")), scrolls);
        QCOMPARE(list->height() == 280.0, scrolls);
        if (scrolls)
            QVERIFY2(rows.size() < 60, "rows are built as they scroll into view");
    }
    if (!file.isEmpty()) {
        QFile stored(panel.app.store()->fileName());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), file);
    }
    saveScreenshot(settledGrab(panel.window));
}

void UiTest::historyShowsOverASheet()
{
    serveStation({QStringLiteral("live")});
    m_music->setCatalog(catalog(1));
    PanelUnderTest panel(m_server.url(stationPath), m_music.get());
    QVERIFY(panel.showAndPoll());
    QVERIFY(panel.openPreview());

    // As the "--history" start does while a preview waits.
    panel.app.onShowHistory();
    QQuickItem *history = panel.settledFace(QStringLiteral("history"));
    QVERIFY(history);
    click(panel.window, itemNamed(history, QStringLiteral("closeButton")));
    QQuickItem *preview = panel.settledFace(QStringLiteral("preview-"));
    QVERIFY2(preview, "closing the history shows the sheet it covered");
    QVERIFY(itemsNamed(preview, QStringLiteral("candidate")).constFirst()->property("isSelected").toBool());

    panel.app.onShowHistory();
    QVERIFY(panel.settledFace(QStringLiteral("history")));
    panel.app.onCancel();
    QCOMPARE(panel.faces().size(), 1);
    QCOMPARE(panel.faces().constFirst()->property("key").toString(), QStringLiteral("history"));
    panel.app.onCloseHistory();
    QVERIFY(panel.settledFace(QStringLiteral("nowPlaying")));
}

void UiTest::updateDialog_data()
{
    QTest::addColumn<QString>("runningVersion");
    QTest::addColumn<int>("feedStatus");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("offersDownload");

    QTest::newRow("newer version") << "0.1.0" << 200 << "Airnote 1.2.0 est disponible (version installée : 0.1.0)"
                                   << true;
    QTest::newRow("up to date") << "1.2.0" << 200 << "Airnote est à jour" << false;
    QTest::newRow("feed failing") << "0.1.0" << 500 << "Vérification impossible : le serveur a répondu HTTP 500"
                                  << false;
}

void UiTest::updateDialog()
{
    QFETCH(QString, runningVersion);
    QFETCH(int, feedStatus);
    QFETCH(QString, message);
    QFETCH(bool, offersDownload);

    serveStation({QStringLiteral("live")});
    m_feedStatus = feedStatus;
    const QUrl feed = m_server.url(QStringLiteral("/appcast.xml"));
    PanelUnderTest panel(m_server.url(stationPath), nullptr,
                         [&](AirnoteApp::Services &services, QNetworkAccessManager *network) {
                             delete services.updater;
                             services.updater = new UpdateChecker(network, feed, runningVersion, 24h);
                         });
    QVERIFY(panel.showAndPoll());
    QQuickWindow *dialog = panel.window.updateDialog();
    click(panel.window, itemNamed(panel.settledFace(QStringLiteral("nowPlaying")), QStringLiteral("updatesButton")));
    QTRY_VERIFY(dialog->isVisible());
    QVERIFY(QTest::qWaitForWindowExposed(dialog));

    QTRY_VERIFY(showsText(dialog->contentItem(), message));
    QCOMPARE(isVisible(dialog->contentItem(), QStringLiteral("downloadLink")), offersDownload);
    saveScreenshot(dialog->grabWindow());
    click(*dialog, itemNamed(dialog->contentItem(), QStringLiteral("okButton")));
    QTRY_VERIFY(!dialog->isVisible());
}

void UiTest::trayMenuFollowsAuthorization_data()
{
    QTest::addColumn<bool>("signedIn");
    QTest::addColumn<QString>("label");

    QTest::newRow("signed in") << true << "Se déconnecter";
    QTest::newRow("signed out") << false << "Se connecter à Apple Music";
}

void UiTest::trayMenuFollowsAuthorization()
{
    QFETCH(bool, signedIn);
    QFETCH(QString, label);

    if (!signedIn)
        qunsetenv("AIRNOTE_MUSIC_USER_TOKEN");
    PanelUnderTest panel(m_server.url(stationPath));
    TrayIcon trayIcon(&panel.window, &panel.app);
    const QList<QAction *> actions = trayIcon.contextMenu()->actions();
    QStringList labels;
    for (const QAction *action : actions)
        labels.append(action->text());
    QCOMPARE(labels, (QStringList{"Ouvrir", label, QString(), "Quitter"}));

    // Signing out would clear the real keychain, so only the sign-in is run;
    // without a developer token it ends at once, with no browser opened.
    if (!signedIn) {
        QSignalSpy finished(panel.app.authorization(), &MusicAuthorization::signInFinished);
        actions[1]->trigger();
        QTRY_COMPARE(finished.size(), 1);
    }
}

QTEST_MAIN(UiTest)
#include "tst_ui.moc"
