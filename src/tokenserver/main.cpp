// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "tokenserver/TokenServer.h"
#include "tokenserver/TokenServerCommandLine.h"

#include "core/Error.h"
#include "core/Logging.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QUrl>

#include <optional>

using namespace airnote;

namespace {

constexpr int configurationFailure = 2;
constexpr int listenFailure = 1;

int fail(const Error &error, int exitCode)
{
    QTextStream(stderr) << QCoreApplication::applicationName() << ": " << error.localizedDescription() << Qt::endl;
    return exitCode;
}

QUrl tokenUrl(const QHostAddress &address, quint16 port)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(address.toString());
    url.setPort(port);
    url.setPath(QStringLiteral("/api/token"));
    return url;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("airnote-token-server"));

    TokenServerCommandLine commandLine;
    std::optional<TokenCache> cache;
    TokenServerConfiguration configuration;
    try {
        commandLine.parse(QCoreApplication::arguments());
        if (commandLine.isHelpRequested()) {
            QTextStream(stdout) << commandLine.helpText();
            return 0;
        }
        configuration = commandLine.configuration(QProcessEnvironment::systemEnvironment());
        cache.emplace(DeveloperTokenSigner(configuration.keyFile, configuration.keyId, configuration.teamId),
                      configuration.lifetime);
    } catch (const Error &error) {
        return fail(error, configurationFailure);
    }

    TokenServer server(*cache, configuration.hostNames);
    try {
        const quint16 port = server.listen(configuration.listenAddress, configuration.listenPort);
        qCInfo(musicLogger).noquote() << "Serving developer tokens on"
                                      << tokenUrl(configuration.listenAddress, port).toString();
        if (!configuration.listenAddress.isLoopback())
            qCWarning(musicLogger).noquote()
                << "Listening on" << configuration.listenAddress.toString()
                << "which is not a loopback address: put this server behind a TLS proxy, tokens travel in clear text";
    } catch (const Error &error) {
        return fail(error, listenFailure);
    }
    return QCoreApplication::exec();
}
