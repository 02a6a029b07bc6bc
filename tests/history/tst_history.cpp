// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "history/CaptureFile.h"
#include "history/CaptureRecord.h"
#include "history/CaptureStore.h"
#include "core/Error.h"

#include "core/Coroutines.h"
#include <QFile>
#include <QScopeGuard>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <optional>
#include <sys/resource.h>
#include <variant>
#include <vector>

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

// QCoro's waitFor never returns when the task throws: the error is caught in
// the coroutine and rethrown here, where QTest reports it.
template<typename T>
using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

template<typename T>
QCoro::Task<> settle(QCoro::Task<T> task, Value<T> &value, std::exception_ptr &error)
{
    try {
        if constexpr (std::is_void_v<T>)
            co_await std::move(task);
        else
            value = co_await std::move(task);
    } catch (...) {
        error = std::current_exception();
    }
}

template<typename T>
Value<T> run(QCoro::Task<T> task)
{
    Value<T> value{};
    std::exception_ptr error;
    QCoro::waitFor(settle(std::move(task), value, error));
    if (error)
        std::rethrow_exception(error);
    return value;
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
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
    }

    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
        m_now = recordedAt.addSecs(10);
    }

    void encodesEachStatus_data()
    {
        QTest::addColumn<Status>("status");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QStringList>("keys");

        const QStringList identity{u"fipArtist"_s, u"fipTitle"_s, u"id"_s, u"status"_s, u"timestamp"_s};
        QTest::newRow("saved") << Status::saved << u"saved"_s << QStringList{u"appleSongID"_s, u"confidence"_s} + identity;
        QTest::newRow("save failed") << Status::saveFailed << u"save_failed"_s
                                     << QStringList{u"appleSongID"_s, u"confidence"_s, u"errorMessage"_s} + identity;
        QTest::newRow("no match") << Status::noMatch << u"no_match"_s << identity;
        QTest::newRow("logged") << Status::logged << u"logged"_s << identity;
    }

    void encodesEachStatus()
    {
        QFETCH(Status, status);
        QFETCH(QString, form);
        QFETCH(QStringList, keys);

        // Two hours ahead of UTC, with milliseconds: written as UTC whole seconds.
        const QDateTime local(QDate(2024, 5, 1), QTime(14, 34, 56, 400), Qt::OffsetFromUTC, 7200);
        const CaptureRecord record = workflowRecord(status, local);
        const QJsonObject json = record.toJson();

        QCOMPARE(json.keys(), keys);
        QCOMPARE(json[u"status"_s].toString(), form);
        QCOMPARE(json[u"timestamp"_s].toString(), u"2024-05-01T12:34:56Z"_s);
        QCOMPARE(json[u"id"_s].toString(), json[u"id"_s].toString().toUpper());
        QCOMPARE(CaptureRecord::fromJson(json), record);
    }

    void decodesStrictly_data()
    {
        QTest::addColumn<QJsonObject>("json");
        QTest::addColumn<QJsonObject>("reencoded");

        const QJsonObject sample = QJsonDocument::fromJson(R"({"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", )"
            R"("timestamp": "2024-05-01T12:34:56Z", "fipArtist": "Chloé Martin", "fipTitle": "Night Drive", "status": "saved"})").object();
        // An undefined value removes the key.
        const auto with = [&sample](std::initializer_list<std::pair<QString, QJsonValue>> changes) {
            QJsonObject json = sample;
            for (const auto &[key, value] : changes)
                json.insert(key, value);
            return json;
        };
        const QJsonObject refused;

        QTest::newRow("lower-case id") << with({{u"id"_s, u"0f8fad5b-d9cb-469f-a165-70867728950e"_s}}) << sample;
        QTest::newRow("null optionals") << with({{u"fipAlbum"_s, QJsonValue::Null}, {u"confidence"_s, QJsonValue::Null}}) << sample;
        QTest::newRow("unknown key") << with({{u"mood"_s, u"calme"_s}}) << sample;

        QTest::newRow("capitalised status") << with({{u"status"_s, u"Saved"_s}}) << refused;
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

    void firstRunCreatesFolderAndAppendsInOrder()
    {
        const QString directory = m_directory->filePath(u"share/Airnote"_s);
        CaptureStore store(directory, clock());
        QVERIFY(QFileInfo(directory).isDir());

        const CaptureRecord everything(QUuid::createUuid(), recordedAt, u"L'\"Orchestre\" \\ Été\t\u0001"_s, u"Night Drive"_s,
                                       u"Blue Hour"_s, u"1440857781"_s, 1, Status::saveFailed, u"réseau :\nhôte introuvable"_s);
        const Records records{workflowRecord(Status::noMatch), everything, workflowRecord(Status::saved)};
        for (const CaptureRecord &record : records)
            run(store.append(record));

        QCOMPARE(run(CaptureStore(directory).loadAll()), records);
        // Pretty-printed with sorted keys, as Qt's own writer does it.
        QJsonArray array;
        for (const CaptureRecord &record : records)
            array.append(record.toJson());
        QCOMPARE(contents(store.fileName()), QJsonDocument(array).toJson(QJsonDocument::Indented));
    }

    void recentSave_data()
    {
        QTest::addColumn<Status>("stored");
        QTest::addColumn<QString>("artist");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("age");
        QTest::addColumn<bool>("found");

        const QString artist = u"Chloé Martin & Lou"_s;
        const QString title = u"Night Drive"_s;
        QTest::newRow("normalized text") << Status::saved << u" CHLOE  Martin / Lou."_s << u"night drive (feat. Lou Vega)"_s << 10 << true;
        QTest::newRow("at 300 s") << Status::saved << artist << title << 300 << true;
        QTest::newRow("at 301 s") << Status::saved << artist << title << 301 << false;
        QTest::newRow("other title") << Status::saved << artist << u"Night Fever"_s << 10 << false;
        QTest::newRow("other artist") << Status::saved << u"Chloé Martin"_s << title << 10 << false;
        QTest::newRow("save failed") << Status::saveFailed << artist << title << 10 << false;
        QTest::newRow("no match") << Status::noMatch << artist << title << 10 << false;
        QTest::newRow("logged") << Status::logged << artist << title << 10 << false;
    }

    void recentSave()
    {
        QFETCH(Status, stored);
        QFETCH(QString, artist);
        QFETCH(QString, title);
        QFETCH(int, age);
        QFETCH(bool, found);

        CaptureStore store(m_directory->path(), clock());
        // An older save of the same song, out of the window, must not hide the one in it.
        run(store.append(workflowRecord(Status::saved, recordedAt.addSecs(-400))));
        const CaptureRecord record = workflowRecord(stored);
        run(store.append(record));
        m_now = recordedAt.addSecs(age);

        QCOMPARE(run(store.recentSave(artist, title, 300)), found ? std::optional(record) : std::nullopt);
    }

    void unreadableHistoryIsNeverRepaired_data()
    {
        QTest::addColumn<QByteArray>("bytes");

        QTest::newRow("not JSON") << QByteArray("[{\"id\": ");
        QTest::newRow("not an array") << QByteArray("{}");
        QJsonObject capitalised = workflowRecord(Status::saved).toJson();
        capitalised[u"status"_s] = u"Saved"_s;
        QTest::newRow("undecodable record")
            << QJsonDocument(QJsonArray{workflowRecord(Status::noMatch).toJson(), capitalised}).toJson();
    }

    void unreadableHistoryIsNeverRepaired()
    {
        QFETCH(QByteArray, bytes);

        CaptureStore store(m_directory->path(), clock());
        QFile file(store.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();

        QVERIFY_THROWS_EXCEPTION(JsonError, run(store.loadAll()));
        QVERIFY_THROWS_EXCEPTION(JsonError, run(store.recentSave(u"Chloé Martin & Lou"_s, u"Night Drive"_s, 300)));
        QVERIFY_THROWS_EXCEPTION(JsonError, run(store.append(workflowRecord(Status::saved))));
        QCOMPARE(contents(store.fileName()), bytes);

        // Every call went back to the file, so a repaired file is read at once.
        const CaptureRecord repaired = workflowRecord(Status::saved);
        CaptureFile(store.fileName()).write({repaired});
        QCOMPARE(run(store.loadAll()), Records{repaired});
    }

    void handReplacedFileIsReadByTheNextAppendOnly_data()
    {
        QTest::addColumn<QByteArray>("replacement");

        const QJsonArray written{workflowRecord(Status::noMatch, recordedAt, u"Mira & Sol"_s).toJson()};
        QTest::newRow("indented") << QJsonDocument(written).toJson(QJsonDocument::Indented);
        QTest::newRow("compact") << QJsonDocument(written).toJson(QJsonDocument::Compact);
        // Ends as the store's own files do, so the next append extends these bytes.
        QTest::newRow("other indents") << "[\n  " + QJsonDocument(written[0].toObject()).toJson(QJsonDocument::Compact) + "\n]\n";
    }

    void handReplacedFileIsReadByTheNextAppendOnly()
    {
        QFETCH(QByteArray, replacement);

        CaptureStore store(m_directory->path(), clock());
        const Records kept{workflowRecord(Status::saved), workflowRecord(Status::saved, recordedAt.addSecs(5))};
        CaptureFile(store.fileName()).write({kept[0]});
        run(store.append(kept[1]));

        QFile file(store.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(replacement) == replacement.size());
        file.close();
        QCOMPARE(run(store.loadAll()), kept);
        QCOMPARE(run(store.recentSave(kept[0].fipArtist(), kept[0].fipTitle(), 300)), kept[0]);

        const CaptureRecord appended = workflowRecord(Status::saved, recordedAt.addSecs(9));
        run(store.append(appended));
        const Records expected{CaptureRecord::fromJson(QJsonDocument::fromJson(replacement).array().at(0)), appended};
        QCOMPARE(run(store.loadAll()), expected);
        QCOMPARE(run(CaptureStore(m_directory->path()).loadAll()), expected);
    }

    void loneSurrogatesReadBackAsWritten()
    {
        const QString artist = u"Nuit "_s + QChar(0xD800) + u" \U0001F319 "_s + QChar(0xDC00);
        const Records records{workflowRecord(Status::saved, recordedAt, artist)};
        const QString fileName = m_directory->filePath(u"captures.json"_s);
        CaptureFile(fileName).write(records);
        QCOMPARE(CaptureFile(fileName).read(), records);
    }

    void writeFailureKeepsFileButNotMemory()
    {
        CaptureStore store(m_directory->path(), clock());
        const Records records{workflowRecord(Status::saved, recordedAt),
                              workflowRecord(Status::saveFailed, recordedAt.addSecs(1)),
                              workflowRecord(Status::noMatch, recordedAt.addSecs(2))};
        run(store.append(records[0]));
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
            QVERIFY_THROWS_EXCEPTION(FileError, run(store.append(records[1])));
        }

        QCOMPARE(contents(store.fileName()), before);
        QCOMPARE(run(store.loadAll()), (Records{records[0], records[1]}));
        run(store.append(records[2]));
        QCOMPARE(run(store.loadAll()), (Records{records[0], records[2]}));
    }

    void appendsLandInCallOrderBeforeTheStoreCloses()
    {
        Records records;
        std::vector<QCoro::Task<void>> appends;
        std::optional<QCoro::Task<Records>> halfway;
        {
            CaptureStore store(m_directory->path(), clock());
            for (int caller = 0; caller < 50; ++caller) {
                records.append(workflowRecord(Status::saved, recordedAt.addSecs(caller), u"Artiste %1"_s.arg(caller)));
                appends.push_back(store.append(records.last()));
                if (caller == 24)
                    halfway.emplace(store.loadAll());
            }
        }
        QCOMPARE(CaptureFile(m_directory->filePath(u"captures.json"_s)).read(), records);

        // The callers' coroutines resume after the store is gone.
        for (QCoro::Task<void> &append : appends)
            run(std::move(append));
        QCOMPARE(run(std::move(*halfway)), records.first(25));
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
    CaptureStore::Clock clock()
    {
        return [this] { return m_now; };
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    QDateTime m_now;
};

QTEST_GUILESS_MAIN(HistoryTest)

#include "tst_history.moc"
