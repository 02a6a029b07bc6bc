// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "core/Coroutines.h"
#include "core/Endpoints.h"
#include "core/Error.h"
#include "core/JsonFields.h"
#include "core/Normalization.h"
#include "core/SignalWait.h"
#include "support/WaitFor.h"

#include <QJsonDocument>
#include <QTest>
#include <QTimer>

#include <coroutine>

using namespace airnote;
using namespace Qt::StringLiterals;

namespace {

// Counts the live copies of itself: a copy destroyed twice, or never, shows.
struct Tracked
{
    static inline int live = 0;
    QString text;
    explicit Tracked(QString text) : text(std::move(text)) { ++live; }
    Tracked(const Tracked &other) : text(other.text) { ++live; }
    ~Tracked() { --live; }
};

// An aggregate, the kind g++ 12 mishandles when built inside a co_await statement.
struct Pair
{
    Tracked first;
    QString second;
};

// A real suspension, resumed from the event loop.
struct Later
{
    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiter) const { QTimer::singleShot(1, [waiter] { waiter.resume(); }); }
    void await_resume() const noexcept {}
};

QCoro::Task<QString> echo(Tracked value)
{
    co_await Later{};
    co_return value.text;
}

QCoro::Task<QString> joined(Pair pair)
{
    co_await Later{};
    co_return pair.first.text + pair.second;
}

QCoro::Task<bool> failing(Tracked value)
{
    co_await Later{};
    throw JsonError(value.text);
}

// The shapes core/Coroutines.h allows, each across a real suspension.
QCoro::Task<QString> allowedShapes()
{
    QString result = co_await echo(Tracked(u"temporary class, "_s));
    const Pair named{Tracked(u"named aggregate"_s), u", "_s};
    result += co_await joined(named);
    const bool both = !result.isEmpty() && co_await echo(Tracked(u"x"_s)) == u"x"_s;
    try {
        co_await failing(Tracked(u"thrown"_s));
    } catch (const JsonError &error) {
        result += error.localizedDescription();
    }
    co_return both ? result : QString();
}

// Waits for a job already due to answer, at most 0 ms: both come in the same
// pass of the event loop. Then waits for a release: a second resumption from
// the first wait would run the second step before the release comes.
QCoro::Task<> answerThenRelease(QTimer *job, QObject *release, QStringList *trail)
{
    SignalWait answer(job, &QTimer::timeout, std::chrono::milliseconds(0));
    const bool answered = co_await answer;
    trail->append(answered ? u"answered"_s : u"timed out"_s);
    SignalWait released(release, &QObject::objectNameChanged, std::chrono::hours(1));
    const bool releasedInTime = co_await released;
    trail->append(releasedInTime ? u"released"_s : u"release timed out"_s);
}

QString fieldOutcome(const QJsonObject &object, const QString &reader)
{
    const JsonFields fields(object, u"test"_s);
    const auto key = "k"_L1;
    try {
        if (reader == "string"_L1)
            return fields.string(key);
        if (reader == "integer"_L1)
            return QString::number(fields.integer(key));
        const std::optional<qint64> value = fields.optionalInteger(key);
        return value ? QString::number(*value) : u"absent"_s;
    } catch (const JsonError &error) {
        return error.localizedDescription();
    }
}

} // namespace

class CoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void coroutineShapesInUseKeepLifetimes()
    {
        QCOMPARE(testing::waitFor(allowedShapes()), u"temporary class, named aggregate, thrown"_s);
        QCOMPARE(Tracked::live, 0);
    }

    // The keychain's case: a job finishing exactly at its wait's timeout.
    void signalWaitResumesOnceWhenBothAreDue()
    {
        QTimer job;
        job.setSingleShot(true);
        QObject release;
        QStringList trail;
        job.start(0);
        const QCoro::Task<> run = answerThenRelease(&job, &release, &trail);
        QTRY_COMPARE(trail.size(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(trail.size(), 1);
        release.setObjectName(u"go"_s);
        QCOMPARE(trail.value(1), u"released"_s);
    }

    void readsJsonFields_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("reader");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("missing string") << QByteArray("{}") << "string" << R"(test: "k" is missing)";
        QTest::newRow("null is not a string") << QByteArray(R"({"k": null})") << "string" << R"(test: "k" is not a string)";
        QTest::newRow("integral decimal") << QByteArray(R"({"k": 1795000000.0})") << "integer" << "1795000000";
        QTest::newRow("fraction") << QByteArray(R"({"k": 2.5})") << "optionalInteger" << R"(test: "k" is not an integer)";
        QTest::newRow("beyond 2^53") << QByteArray(R"({"k": 9007199254740993})") << "integer"
                                     << R"(test: "k" is not an integer)";
        QTest::newRow("integer as text") << QByteArray(R"({"k": "12"})") << "integer" << R"(test: "k" is not an integer)";
    }

    void readsJsonFields()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, reader);
        QFETCH(QString, outcome);
        QCOMPARE(fieldOutcome(QJsonDocument::fromJson(json).object(), reader), outcome);
    }

    void judgesEnvironmentOverrides_data()
    {
        QTest::addColumn<QString>("tokenURL");
        QTest::addColumn<QString>("configured");  // empty: refused
        QTest::newRow("full address") << u"https://tokens.example.org/api/token"_s << u"https://tokens.example.org/api/token"_s;
        QTest::newRow("http on 127.x") << u"http://127.8.9.10/"_s << u"http://127.8.9.10/api/token"_s;
        QTest::newRow("http on localhost") << u"http://localhost:9000"_s << u"http://localhost:9000/api/token"_s;
        QTest::newRow("trailing slashes") << u"https://api.example.org/proxy//"_s << u"https://api.example.org/proxy/api/token"_s;
        QTest::newRow("port and query kept apart") << u"http://127.0.0.1:8787/?x=1"_s << u"http://127.0.0.1:8787/api/token?x=1"_s;
        QTest::newRow("http on a network host") << u"http://api.example.org/live"_s << QString();
        QTest::newRow("host looking like loopback") << u"http://127.0.0.1.example.org/"_s << QString();
        QTest::newRow("other scheme") << u"ftp://127.0.0.1/"_s << QString();
        QTest::newRow("no host") << u"https:///live"_s << QString();
    }

    void judgesEnvironmentOverrides()
    {
        QFETCH(QString, tokenURL);
        QFETCH(QString, configured);
        qputenv("AIRNOTE_TOKEN_URL", tokenURL.toUtf8());
        try {
            QCOMPARE(Endpoints::fromEnvironment().tokenURL.toString(), configured);
        } catch (const ConfigurationError &error) {
            QVERIFY2(configured.isEmpty(), qPrintable(error.localizedDescription()));
            QVERIFY(error.localizedDescription().startsWith(u"AIRNOTE_TOKEN_URL: refused"_s));
        }
        qunsetenv("AIRNOTE_TOKEN_URL");
    }

    void normalize_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ft") << "Night Drive (Ft Lou Vega)" << "night drive";
        QTest::newRow("remastered") << "Blue Hour (Remastered 2009)" << "blue hour";
        QTest::newRow("deluxe and bonus") << "Tides (Deluxe Edition) (Bonus Track)" << "tides";
        QTest::newRow("live in brackets") << "Harbour Lights [Live at the Olympia]" << "harbour lights";
        QTest::newRow("unbracketed remaster kept") << "Blue Hour - Remastered 2011" << "blue hour remastered 2011";
        QTest::newRow("other brackets kept") << "Song (Radio Edit)" << "song radio edit";
        QTest::newRow("hyphen joins") << "Jean-Loup" << "jeanloup";
        QTest::newRow("unicode blanks and ampersand") << "  Mira\t&\u00a0Sol\u00a0(feat. X) " << "mira sol";
        QTest::newRow("line break dropped") << "Mr.\nBlue" << "mrblue";
        QTest::newRow("digits and other scripts") << "Ñandú 2 東京" << "nandu 2 東京";
    }

    void normalize()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(airnote::normalize(text), expected);
    }
};

QTEST_GUILESS_MAIN(CoreTest)
#include "tst_core.moc"
