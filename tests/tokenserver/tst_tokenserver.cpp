// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "tokenserver/TokenCache.h"
#include "tokenserver/TokenServerCommandLine.h"

#include "core/Error.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>

using namespace airnote;

namespace {

const QString keyId = "KEY1234567";
const QString teamId = "TEAM123456";

using KeyPointer = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

KeyPointer ecKey(const char *curve)
{
    return KeyPointer(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", curve), &EVP_PKEY_free);
}

QByteArray privateKeyPem(EVP_PKEY *key, const EVP_CIPHER *cipher = nullptr)
{
    std::unique_ptr<BIO, decltype(&BIO_free)> output(BIO_new(BIO_s_mem()), &BIO_free);
    PEM_write_bio_PKCS8PrivateKey(output.get(), key, cipher, nullptr, 0, nullptr, const_cast<char *>("secret"));
    char *data = nullptr;
    return QByteArray(data, BIO_get_mem_data(output.get(), &data));
}

QJsonObject jwtPart(const QByteArray &token, int index)
{
    return QJsonDocument::fromJson(QByteArray::fromBase64(token.split('.').value(index), QByteArray::Base64UrlEncoding)).object();
}

// The JWS signature is r||s; OpenSSL verifies the DER form.
bool verifiesEs256(EVP_PKEY *key, const QByteArray &token)
{
    const QByteArray signingInput = token.left(token.lastIndexOf('.'));
    const QByteArray raw = QByteArray::fromBase64(token.mid(signingInput.size() + 1), QByteArray::Base64UrlEncoding);
    if (raw.size() != 64)
        return false;
    const auto *rawBytes = reinterpret_cast<const unsigned char *>(raw.constData());
    std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> signature(ECDSA_SIG_new(), &ECDSA_SIG_free);
    ECDSA_SIG_set0(signature.get(), BN_bin2bn(rawBytes, 32, nullptr), BN_bin2bn(rawBytes + 32, 32, nullptr));
    unsigned char *der = nullptr;
    const int derLength = i2d_ECDSA_SIG(signature.get(), &der);
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    const bool verified = EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) == 1
        && EVP_DigestVerify(context.get(), der, size_t(derLength), reinterpret_cast<const unsigned char *>(signingInput.constData()),
                            size_t(signingInput.size())) == 1;
    OPENSSL_free(der);
    return verified;
}

} // namespace

class TokenServerTest : public QObject
{
    Q_OBJECT

    QString writeFile(const QString &name, const QByteArray &contents,
                      QFileDevice::Permissions permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner)
    {
        QFile file(m_directory.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.setPermissions(permissions))
            qFatal("cannot write %s", qUtf8Printable(file.fileName()));
        return file.fileName();
    }

    // The reply's status; the reply stays in m_reply for a look.
    int send(const QByteArray &verb, const QUrl &url, const QByteArray &host = {})
    {
        QNetworkRequest request(url);
        if (!host.isEmpty())
            request.setRawHeader("Host", host);
        m_reply.reset(m_network.sendCustomRequest(request, verb));
        QSignalSpy(m_reply.get(), &QNetworkReply::finished).wait(10000);
        return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }

    QTemporaryDir m_directory;
    KeyPointer m_key = ecKey("P-256");
    QString m_keyFile = writeFile("AuthKey.p8", privateKeyPem(m_key.get()));
    QNetworkAccessManager m_network;
    std::unique_ptr<QNetworkReply> m_reply;

private Q_SLOTS:
    void renewsOnlyNearExpiry_data()
    {
        QTest::addColumn<int>("lifetime");
        QTest::addColumn<qint64>("elapsed");  // milliseconds
        QTest::addColumn<int>("expiresIn");  // the whole lifetime for a new token
        // Also fails on renewing at exactly one hour left, or rounding the expiry up.
        QTest::newRow("12 h, a fraction over one hour left") << 43200 << qint64(39599250) << 3600;
        QTest::newRow("12 h, just under one hour left") << 43200 << qint64(39601000) << 43200;
        QTest::newRow("1 h, a tenth left") << 3600 << qint64(3240000) << 360;
    }
    void renewsOnlyNearExpiry()
    {
        QFETCH(int, lifetime);
        QFETCH(qint64, elapsed);
        QFETCH(int, expiresIn);
        QDateTime now(QDate(2026, 11, 22), QTime(10, 0), Qt::UTC);
        TokenCache cache(DeveloperTokenSigner(m_keyFile, keyId, teamId), std::chrono::seconds(lifetime), [&] { return now; });
        const QByteArray first = cache.current().token;
        const qint64 issuedAt = now.toSecsSinceEpoch();
        QCOMPARE(jwtPart(first, 1), (QJsonObject{{"iss", teamId}, {"iat", issuedAt}, {"exp", issuedAt + lifetime}}));
        now = now.addMSecs(elapsed);
        const ServedToken second = cache.current();
        QCOMPARE(second.expiresIn, expiresIn);
        QCOMPARE(second.token != first, expiresIn == lifetime);
    }

    void readsConfiguration_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QString>("outcome");  // the configuration read, or part of the refusal
        const QStringList keyVariables{"AIRNOTE_MUSICKIT_KEY_FILE=" + m_keyFile, "AIRNOTE_MUSICKIT_KEY_ID=ENVKEY", "AIRNOTE_MUSICKIT_TEAM_ID=TEAM"};
        const auto withKey = [](const QString &path) { return QStringList{"--key-file=" + path, "--key-id=K", "--team-id=T"}; };
        const QStringList keyFlags = withKey(m_keyFile);
        const QString notPrivateKey = "does not hold an unencrypted PEM private key";
        QTest::newRow("defaults") << QStringList() << keyVariables << "ENVKEY TEAM [127.0.0.1]:8787 43200";
        QTest::newRow("flags win") << QStringList{"--key-id", "FLAGKEY", "--listen", "[::1]:0", "--lifetime=3600"}
                                   << keyVariables + QStringList{"AIRNOTE_TOKEN_LISTEN=0.0.0.0:9000", "AIRNOTE_TOKEN_LIFETIME=7200"}
                                   << "FLAGKEY TEAM [::1]:0 3600";
        QTest::newRow("localhost, six months") << keyFlags << QStringList{"AIRNOTE_TOKEN_LISTEN=localhost:9000", "AIRNOTE_TOKEN_LIFETIME=15777000"}
                                               << "K T [127.0.0.1]:9000 15777000";
        QTest::newRow("key is a directory") << withKey(m_directory.path()) << QStringList() << "Cannot read key file";
        const QString shared = writeFile("shared.p8", privateKeyPem(m_key.get()), QFileDevice::ReadOwner | QFileDevice::ReadGroup);
        QTest::newRow("key readable by the group") << withKey(shared) << QStringList() << "is open to other users";
        // Must fail at once instead of prompting for the passphrase.
        QTest::newRow("encrypted key") << withKey(writeFile("encrypted.p8", privateKeyPem(m_key.get(), EVP_aes_256_cbc())))
                                       << QStringList() << notPrivateKey;
        QTest::newRow("P-384 key") << withKey(writeFile("p384.p8", privateKeyPem(ecKey("P-384").get())))
                                   << QStringList() << "is not an EC P-256 private key (found EC secp384r1)";
        QTest::newRow("no key id") << QStringList{"--key-file=/k.p8", "--team-id=T"} << QStringList() << "Missing --key-id (or $AIRNOTE_MUSICKIT_KEY_ID)";
        QTest::newRow("listen on a host name") << keyFlags << QStringList{"AIRNOTE_TOKEN_LISTEN=example.org:80"} << "AIRNOTE_TOKEN_LISTEN: expected";
        QTest::newRow("lifetime too short") << keyFlags << QStringList{"AIRNOTE_TOKEN_LIFETIME=3599"} << "AIRNOTE_TOKEN_LIFETIME: expected";
        QTest::newRow("lifetime over six months") << keyFlags + QStringList{"--lifetime=15777001"} << QStringList() << "--lifetime: expected";
    }
    void readsConfiguration()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, environment);
        QFETCH(QString, outcome);
        QProcessEnvironment variables;
        for (const QString &assignment : environment)
            variables.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
        try {
            TokenServerCommandLine commandLine;
            commandLine.parse(QStringList{"airnote-token-server"} + arguments);
            const TokenServerConfiguration read = commandLine.configuration(variables);
            DeveloperTokenSigner(read.keyFile, read.keyId, read.teamId);  // checks the key as the program does at start
            QCOMPARE(QStringLiteral("%1 %2 [%3]:%4 %5").arg(read.keyId, read.teamId, read.listenAddress.toString())
                         .arg(read.listenPort).arg(read.lifetime.count()), outcome);
        } catch (const Error &error) {
            QVERIFY2(error.localizedDescription().contains(outcome), qUtf8Printable(error.localizedDescription()));
        }
    }

    // What a service manager sees: settings the program cannot use end it with status 2 and the
    // reason; then, served on every address as behind a TLS proxy named tokens.example.org, the token only.
    void executableRefusesBadSettingsAndServesOnlyTheToken()
    {
        QProcess process;
        process.start(AIRNOTE_TOKEN_SERVER_EXECUTABLE, {"--key-file=/nonexistent/AuthKey.p8", "--key-id=K", "--team-id=T"});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(process.readAllStandardError(), "airnote-token-server: Key file /nonexistent/AuthKey.p8 does not exist\n");

        process.setEnvironment({"AIRNOTE_MUSICKIT_KEY_FILE=" + m_keyFile, "AIRNOTE_MUSICKIT_KEY_ID=" + keyId, "AIRNOTE_MUSICKIT_TEAM_ID=" + teamId});
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(AIRNOTE_TOKEN_SERVER_EXECUTABLE, {"--listen=0.0.0.0:0", "--host-names=Tokens.example.org"});
        // The address served, then the warning that it is not loopback.
        QTRY_VERIFY_WITH_TIMEOUT(process.peek(1000).count('\n') >= 2 || process.state() == QProcess::NotRunning, 10000);
        const QString announcement = QString::fromUtf8(process.read(1000));
        const QRegularExpression announced(R"(http://0\.0\.0\.0:(\d+)/api/token.*\n.*not a loopback address: put this server behind a TLS proxy)");
        const QRegularExpressionMatch port = announced.match(announcement);
        QVERIFY2(port.hasMatch(), qUtf8Printable(announcement));
        const QUrl tokenURL("http://127.0.0.1:" + port.captured(1) + "/api/token");
        QCOMPARE(send("POST", tokenURL), 405);
        QCOMPARE(m_reply->rawHeader("Allow"), "GET");
        QCOMPARE(send("GET", tokenURL.resolved(QUrl("/"))), 404);
        // A page on a name rebound to this server's address.
        QCOMPARE(send("GET", tokenURL, "rebound.example:" + port.captured(1).toLatin1()), 421);
        QCOMPARE(send("GET", tokenURL, "tokens.example.org"), 200);
        // A body far over what a token request needs ends the connection, not the server.
        QTcpSocket flood;
        flood.connectToHost(QHostAddress::LocalHost, tokenURL.port());
        QVERIFY(flood.waitForConnected(10000));
        flood.write("POST /api/token HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 100000000\r\n\r\n" + QByteArray(1 << 20, 'x'));
        QTRY_COMPARE_WITH_TIMEOUT(flood.state(), QAbstractSocket::UnconnectedState, 10000);

        QCOMPARE(send("GET", tokenURL), 200);
        QCOMPARE(m_reply->rawHeader("Cache-Control"), "no-store");
        const QJsonObject body = QJsonDocument::fromJson(m_reply->readAll()).object();
        const QByteArray token = body.value("token").toString().toLatin1();
        QCOMPARE(jwtPart(token, 0), (QJsonObject{{"alg", "ES256"}, {"kid", keyId}}));
        QVERIFY(body.value("expiresIn").toInteger() > 43000);
        QVERIFY(!token.contains('=') && verifiesEs256(m_key.get(), token));

        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        const QByteArray output = process.readAll();
        QVERIFY(output.contains("Signed a developer token valid until"));
        QVERIFY(!output.contains(token.split('.').value(2)));
    }
};

QTEST_GUILESS_MAIN(TokenServerTest)
#include "tst_tokenserver.moc"
