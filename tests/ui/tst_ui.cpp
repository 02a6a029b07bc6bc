#include "app/AirnoteApp.h"
#include "support/TestServices.h"
#include "fakes/LoopbackHttpServer.h"
#include "station/FIPMetadataService.h"
#include "ui/PanelWindow.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QQuickItem>
#include <QQuickView>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(Airnote_UIPlugin)

using namespace airnote;
using namespace airnote::fakes;
using namespace std::chrono_literals;

namespace {

const QString stationPath = QStringLiteral("/livemeta/live/7/webrf_fip_player");
const QColor coverColour(200, 40, 120);

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

// The station serves its covers as WebP; a flat colour survives the lossy codec.
QByteArray coverImage()
{
    QImage image(400, 400, QImage::Format_RGB32);
    image.fill(coverColour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "WEBP");
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

bool isVisible(QObject *root, const QString &objectName)
{
    auto *item = root->findChild<QQuickItem *>(objectName);
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
void saveScreenshot(QQuickView &view)
{
    const QString folder = QStringLiteral(AIRNOTE_TEST_OUTPUT_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString row = QString::fromUtf8(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
    const QString name = QStringLiteral("%1-%2.png").arg(QLatin1String(QTest::currentTestFunction()), row);
    QVERIFY(settledGrab(view).save(folder + QLatin1Char('/') + name));
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

// The real panel window over a real poller. The poller's waits last minutes,
// so every poll after the first is one the test (or the panel) asked for.
struct PanelUnderTest
{
    explicit PanelUnderTest(const QUrl &stationURL)
        : app(testing::servicesFor(&network, stationURL, home.path()))
        , fip(*app.fip())
        , window(&app, PanelWindow::Presentation::Windowed)
    {
        fip.setWaitUnit(1min);
    }

    QQuickItem *content() const { return window.rootObject(); }

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

private:
    // Replies to the station requests in order, the last one repeating.
    void serveStation(const QStringList &script);
    qsizetype stationRequestCount() const;

    LoopbackHttpServer m_server;
    QByteArray m_cover;
};

void UiTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_server.listen());
    // Read once per process by the endpoints, so it must be set before any parse.
    qputenv("AIRNOTE_IMAGE_BASE", m_server.url().toString().toUtf8());
    qputenv("AIRNOTE_STATION_URL", m_server.url(stationPath).toString().toUtf8());
    m_cover = coverImage();
    QVERIFY2(!m_cover.isEmpty(), "the WebP image plugin is missing");
}

void UiTest::init()
{
    m_server.clearRequests();
}

void UiTest::cleanup()
{
    QApplication::setPalette(QPalette());
}

void UiTest::serveStation(const QStringList &script)
{
    auto answered = std::make_shared<qsizetype>(0);
    m_server.setHandler([this, script, answered](const HttpRequest &request) {
        if (request.path.startsWith(QLatin1String("/pikapi/images/")))
            return HttpReply{.status = 200, .body = m_cover, .contentType = "image/webp"};
        return stationReply(script.at(std::min((*answered)++, script.size() - 1)));
    });
}

qsizetype UiTest::stationRequestCount() const
{
    return std::count_if(m_server.requests().cbegin(), m_server.requests().cend(),
                         [](const HttpRequest &request) { return request.path == stationPath; });
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

    saveScreenshot(panel.window);
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

    saveScreenshot(view);
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

QTEST_MAIN(UiTest)
#include "tst_ui.moc"
