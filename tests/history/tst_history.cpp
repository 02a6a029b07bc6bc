// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "core/Error.h"
#include "history/CaptureStore.h"
#include "support/WaitFor.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace airnote;
using namespace Qt::StringLiterals;
using Status = CaptureRecord::Status;
using Records = QList<CaptureRecord>;

namespace {

const QDateTime recordedAt(QDate(2024, 5, 1), QTime(12, 34, 56), Qt::UTC);

// Filled as the save workflow fills each kind of record.
CaptureRecord workflowRecord(Status status, QDateTime timestamp = recordedAt, QString artist = u"Chloé Martin & Lou"_s)
{
    const bool matched = status == Status::saved || status == Status::saveFailed;
    return CaptureRecord(QUuid::createUuid(), timestamp, artist, u"Night Drive"_s, std::nullopt,
                         matched ? std::optional(u"1440857781"_s) : std::nullopt,
                         matched ? std::optional(0.8125) : std::nullopt, status,
                         status == Status::saveFailed ? std::optional(u"réseau : délai dépassé"_s) : std::nullopt);
}

QByteArray contents(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class HistoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
        m_now = recordedAt.addSecs(10);
    }

    void writesUtcWholeSeconds()
    {
        // Two hours ahead of UTC, with milliseconds.
        const CaptureRecord record = workflowRecord(Status::logged, QDateTime(QDate(2024, 5, 1), QTime(14, 34, 56, 400), Qt::OffsetFromUTC, 7200));
        QCOMPARE(record.toJson()[u"timestamp"_s].toString(), u"2024-05-01T12:34:56Z"_s);
        QCOMPARE(CaptureRecord::fromJson(record.toJson()), record);
    }

    void decodesStrictly_data()
    {
        QTest::addColumn<QJsonObject>("json");
        QTest::addColumn<QJsonObject>("reencoded");

        // Every field, so a key spelt otherwise on either side shows in the re-encoded form.
        const QJsonObject sample = QJsonDocument::fromJson(R"({"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", )"
            R"("timestamp": "2024-05-01T12:34:56Z", "fipArtist": "Chloé Martin", "fipTitle": "Night Drive", "fipAlbum": "Tides", )"
            R"("appleSongID": "1440857781", "confidence": 0.8125, "status": "save_failed", "errorMessage": "délai dépassé"})").object();
        // An undefined value removes the key.
        const auto with = [&sample](std::initializer_list<std::pair<QString, QJsonValue>> changes) {
            QJsonObject json = sample;
            for (const auto &[key, value] : changes)
                json.insert(key, value);
            return json;
        };
        const QJsonObject refused;

        for (const QString &status : {u"saved"_s, u"no_match"_s, u"logged"_s})
            QTest::newRow(qPrintable(status)) << with({{u"status"_s, status}}) << with({{u"status"_s, status}});
        QTest::newRow("lower-case id") << with({{u"id"_s, u"0f8fad5b-d9cb-469f-a165-70867728950e"_s}}) << sample;
        QTest::newRow("null optionals") << with({{u"fipAlbum"_s, QJsonValue::Null}, {u"confidence"_s, QJsonValue::Null}})
                                        << with({{u"fipAlbum"_s, QJsonValue::Undefined}, {u"confidence"_s, QJsonValue::Undefined}});
        QTest::newRow("unknown key") << with({{u"mood"_s, u"calme"_s}}) << sample;
        QTest::newRow("missing status") << with({{u"status"_s, QJsonValue::Undefined}}) << refused;
        QTest::newRow("fractional seconds") << with({{u"timestamp"_s, u"2024-05-01T12:34:56.5Z"_s}}) << refused;
        QTest::newRow("impossible date") << with({{u"timestamp"_s, u"2024-02-30T12:34:56Z"_s}}) << refused;
        QTest::newRow("id in braces") << with({{u"id"_s, u"{0F8FAD5B-D9CB-469F-A165-70867728950E}"_s}}) << refused;
        QTest::newRow("null title") << with({{u"fipTitle"_s, QJsonValue::Null}}) << refused;
        QTest::newRow("confidence as text") << with({{u"confidence"_s, u"0.8"_s}}) << refused;
        QTest::newRow("album as array") << with({{u"fipAlbum"_s, QJsonArray{u"Blue Hour"_s}}}) << refused;
    }

    void decodesStrictly()
    {
        QFETCH(QJsonObject, json);
        QFETCH(QJsonObject, reencoded);

        if (reencoded.isEmpty())
            QVERIFY_THROWS_EXCEPTION(JsonError, CaptureRecord::fromJson(json));
        else
            QCOMPARE(CaptureRecord::fromJson(json).toJson(), reencoded);
    }

    void recentSave_data()
    {
        QTest::addColumn<Status>("stored");
        QTest::addColumn<QString>("artist");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("age");  // milliseconds
        QTest::addColumn<bool>("found");

        const QString artist = u"Chloé Martin & Lou"_s;
        const QString title = u"Night Drive"_s;
        QTest::newRow("normalized text") << Status::saved << u" CHLOE  Martin / Lou."_s << u"night drive (feat. Lou Vega)"_s << 10000 << true;
        // Saved a fraction of a second after the stored whole second.
        QTest::newRow("at 300.9 s of the stored second") << Status::saved << artist << title << 300900 << true;
        QTest::newRow("at 301 s") << Status::saved << artist << title << 301000 << false;
        QTest::newRow("other title") << Status::saved << artist << u"Night Fever"_s << 10000 << false;
        QTest::newRow("other artist") << Status::saved << u"Chloé Martin"_s << title << 10000 << false;
        QTest::newRow("save failed") << Status::saveFailed << artist << title << 10000 << false;
        QTest::newRow("no match") << Status::noMatch << artist << title << 10000 << false;
    }

    void recentSave()
    {
        QFETCH(Status, stored);
        QFETCH(QString, artist);
        QFETCH(QString, title);
        QFETCH(int, age);
        QFETCH(bool, found);

        CaptureStore store(m_directory->path(), [this] { return m_now; });
        // An older save of the same song, out of the window, must not hide the one in it.
        testing::waitFor(store.append(workflowRecord(Status::saved, recordedAt.addSecs(-400))));
        const CaptureRecord record = workflowRecord(stored);
        testing::waitFor(store.append(record));
        m_now = recordedAt.addMSecs(age);

        QCOMPARE(testing::waitFor(store.recentSave(artist, title, 300)), found ? std::optional(record) : std::nullopt);
    }

    void handWrittenFileIsReadButNeverRepaired_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("readable");

        const QJsonArray written{workflowRecord(Status::noMatch, recordedAt, u"Mira & Sol"_s).toJson()};
        QTest::newRow("compact") << QJsonDocument(written).toJson(QJsonDocument::Compact) << true;
        // Ends as the store's own files do, so the next append extends these bytes.
        QTest::newRow("other indents") << "[\n  " + QJsonDocument(written[0].toObject()).toJson(QJsonDocument::Compact) + "\n]\n" << true;
        QTest::newRow("not JSON") << QByteArray("[{\"id\": ") << false;
        QTest::newRow("not an array") << QByteArray("{}") << false;
        QJsonObject capitalised = workflowRecord(Status::saved).toJson();
        capitalised[u"status"_s] = u"Saved"_s;
        QTest::newRow("undecodable record") << QJsonDocument(QJsonArray{written[0], capitalised}).toJson() << false;
    }

    void handWrittenFileIsReadButNeverRepaired()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, readable);

        CaptureStore store(m_directory->path(), [this] { return m_now; });
        const CaptureRecord kept = workflowRecord(Status::saved);
        testing::waitFor(store.append(kept));
        QFile file(store.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        // Reads answer from memory; only an append goes back to the file.
        QCOMPARE(testing::waitFor(store.loadAll()), Records{kept});
        QCOMPARE(testing::waitFor(store.recentSave(kept.fipArtist(), kept.fipTitle(), 300)), kept);

        const CaptureRecord appended = workflowRecord(Status::saved, recordedAt.addSecs(9));
        if (readable) {
            testing::waitFor(store.append(appended));
            const Records expected{CaptureRecord::fromJson(QJsonDocument::fromJson(bytes).array().at(0)), appended};
            QCOMPARE(testing::waitFor(store.loadAll()), expected);
            QCOMPARE(testing::waitFor(CaptureStore(m_directory->path()).loadAll()), expected);
            return;
        }
        CaptureStore fresh(m_directory->path());
        QVERIFY_THROWS_EXCEPTION(JsonError, testing::waitFor(store.append(appended)));
        QVERIFY_THROWS_EXCEPTION(JsonError, testing::waitFor(fresh.loadAll()));
        QVERIFY_THROWS_EXCEPTION(JsonError, testing::waitFor(fresh.recentSave(kept.fipArtist(), kept.fipTitle(), 300)));
        QCOMPARE(contents(store.fileName()), bytes);
        // A failed read leaves nothing behind, so a repaired file is read at once.
        CaptureFile(store.fileName()).write({appended});
        QCOMPARE(testing::waitFor(fresh.loadAll()), Records{appended});
    }

    void writeFailureKeepsFileButNotMemory()
    {
        CaptureStore store(m_directory->path());
        const Records records{workflowRecord(Status::saved, recordedAt),
                              workflowRecord(Status::saveFailed, recordedAt.addSecs(1)),
                              workflowRecord(Status::noMatch, recordedAt.addSecs(2))};
        testing::waitFor(store.append(records[0]));
        const QByteArray before = contents(store.fileName());
        {
            // A file size limit just under the next history's size binds root too, unlike permissions.
            rlimit previous{};
            getrlimit(RLIMIT_FSIZE, &previous);
            const rlimit limit{rlim_t(before.size()), previous.rlim_max};
            setrlimit(RLIMIT_FSIZE, &limit);
            const auto previousSignal = std::signal(SIGXFSZ, SIG_IGN);
            const auto restore = qScopeGuard([&] {
                setrlimit(RLIMIT_FSIZE, &previous);
                std::signal(SIGXFSZ, previousSignal);
            });
            QVERIFY_THROWS_EXCEPTION(FileError, testing::waitFor(store.append(records[1])));
        }

        QCOMPARE(contents(store.fileName()), before);
        QCOMPARE(testing::waitFor(store.loadAll()), (Records{records[0], records[1]}));
        testing::waitFor(store.append(records[2]));
        QCOMPARE(testing::waitFor(store.loadAll()), (Records{records[0], records[2]}));
    }

    void firstRunAppendsInCallOrderBeforeTheStoreCloses()
    {
        // Escapes in the artist; in the title, lone surrogates, which have no UTF-8 form.
        const QString title = u"Nuit "_s + QChar(0xD800) + u" \U0001F319 "_s + QChar(0xDC00);
        Records records{workflowRecord(Status::noMatch),
                        CaptureRecord(QUuid::createUuid(), recordedAt, u"L'\"Orchestre\" \\ Été\t\u0001"_s, title, u"Blue Hour"_s,
                                      u"1440857781"_s, 1, Status::saveFailed, u"réseau :\nhôte introuvable"_s)};
        for (int caller = 2; caller < 50; ++caller)
            records.append(workflowRecord(Status::saved, recordedAt.addSecs(caller), u"Artiste %1"_s.arg(caller)));
        const QString directory = m_directory->filePath(u"share/Airnote"_s);
        std::vector<QCoro::Task<void>> appends;
        std::optional<QCoro::Task<Records>> halfway;
        {
            CaptureStore store(directory);
            QVERIFY(QFileInfo(directory).isDir());
            for (const CaptureRecord &record : std::as_const(records)) {
                appends.push_back(store.append(record));
                if (appends.size() == 25)
                    halfway.emplace(store.loadAll());
            }
        }
        QCOMPARE(CaptureFile(directory + u"/captures.json"_s).read(), records);
        // Pretty-printed with sorted keys, as Qt's own writer does it.
        QJsonArray array;
        for (const CaptureRecord &record : std::as_const(records))
            array.append(record.toJson());
        QCOMPARE(contents(directory + u"/captures.json"_s), QJsonDocument(array).toJson(QJsonDocument::Indented));

        // The callers' coroutines resume after the store is gone.
        for (QCoro::Task<void> &append : appends)
            testing::waitFor(std::move(append));
        QCOMPARE(testing::waitFor(std::move(*halfway)), records.first(25));
    }

    void killedAppenderLeavesAWholeHistory()
    {
        QStringList returned;
        for (int kill = 1; kill <= 200; ++kill) {
            QProcess appender;
            appender.start(QStringLiteral(CAPTURE_APPENDER), {m_directory->path()});
            QVERIFY2(appender.waitForReadyRead(10000), qPrintable(appender.readAllStandardError()));
            // Only picks the moment of the kill; nothing is waited for.
            QTest::qWait(QRandomGenerator::global()->bounded(8));
            appender.kill();
            QVERIFY(appender.waitForFinished());
            // A failed append ends the appender with its message.
            QCOMPARE(appender.readAllStandardError(), QByteArray());

            returned += QString::fromLatin1(appender.readAllStandardOutput()).split(u'\n');
            returned.removeLast(); // empty, or a line cut by the kill
            // A broken history throws here, and QTest reports it.
            QSet<QString> stored;
            for (const CaptureRecord &record : CaptureFile(m_directory->filePath(u"captures.json"_s)).read())
                stored.insert(record.idText());
            for (const QString &id : std::as_const(returned))
                QVERIFY2(stored.contains(id), qPrintable(u"kill %1 lost %2"_s.arg(kill).arg(id)));
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    QDateTime m_now;
};

QTEST_GUILESS_MAIN(HistoryTest)

#include "tst_history.moc"
