// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenServerCommandLine.h"

#include "tokenserver/DeveloperTokenSigner.h"

#include "core/Error.h"

#include <QRegularExpression>

namespace airnote {

namespace {

const QString keyFileVariable = QStringLiteral("AIRNOTE_MUSICKIT_KEY_FILE");
const QString keyIdVariable = QStringLiteral("AIRNOTE_MUSICKIT_KEY_ID");
const QString teamIdVariable = QStringLiteral("AIRNOTE_MUSICKIT_TEAM_ID");
const QString listenVariable = QStringLiteral("AIRNOTE_TOKEN_LISTEN");
const QString hostNamesVariable = QStringLiteral("AIRNOTE_TOKEN_HOST_NAMES");
const QString lifetimeVariable = QStringLiteral("AIRNOTE_TOKEN_LIFETIME");

QCommandLineOption option(const QString &name, const QString &variable, const QString &description,
                          const QString &valueName, const QString &defaultValue = {})
{
    return QCommandLineOption(name, QStringLiteral("%1 (or $%2).").arg(description, variable), valueName, defaultValue);
}

} // namespace

TokenServerCommandLine::TokenServerCommandLine()
    : m_helpOption(m_parser.addHelpOption())
    , m_keyFileOption(option(QStringLiteral("key-file"), keyFileVariable,
                             QStringLiteral("MusicKit private key, a .p8 file (PKCS#8 PEM, EC P-256)"),
                             QStringLiteral("path")))
    , m_keyIdOption(option(QStringLiteral("key-id"), keyIdVariable, QStringLiteral("Identifier of that key"),
                           QStringLiteral("id")))
    , m_teamIdOption(option(QStringLiteral("team-id"), teamIdVariable,
                            QStringLiteral("Apple developer team identifier"), QStringLiteral("id")))
    , m_listenOption(option(QStringLiteral("listen"), listenVariable,
                            QStringLiteral("Address and port to serve on, default 127.0.0.1:8787"),
                            QStringLiteral("host:port"), QStringLiteral("127.0.0.1:8787")))
    , m_hostNamesOption(option(QStringLiteral("host-names"), hostNamesVariable,
                               QStringLiteral("Names clients reach the server by, comma separated, such as the TLS "
                                              "proxy's; requests naming another host are refused"),
                               QStringLiteral("names")))
    , m_lifetimeOption(option(QStringLiteral("lifetime"), lifetimeVariable,
                              QStringLiteral("Validity of each token in seconds, default 43200"),
                              QStringLiteral("seconds"), QStringLiteral("43200")))
{
    m_parser.setApplicationDescription(QStringLiteral("Serves MusicKit developer tokens to Airnote on GET /api/token."));
    m_parser.addOptions({m_keyFileOption, m_keyIdOption, m_teamIdOption, m_listenOption, m_hostNamesOption,
                         m_lifetimeOption});
}

void TokenServerCommandLine::parse(const QStringList &arguments)
{
    if (!m_parser.parse(arguments))
        throw ConfigurationError(m_parser.errorText());
    if (!m_parser.positionalArguments().isEmpty())
        throw ConfigurationError(QStringLiteral("Unexpected argument: %1").arg(m_parser.positionalArguments().first()));
}

bool TokenServerCommandLine::isHelpRequested() const
{
    return m_parser.isSet(m_helpOption);
}

QString TokenServerCommandLine::helpText() const
{
    return m_parser.helpText();
}

TokenServerConfiguration TokenServerCommandLine::configuration(const QProcessEnvironment &environment) const
{
    TokenServerConfiguration configuration;
    configuration.keyFile = requiredValue(m_keyFileOption, keyFileVariable, environment);
    configuration.keyId = requiredValue(m_keyIdOption, keyIdVariable, environment);
    configuration.teamId = requiredValue(m_teamIdOption, teamIdVariable, environment);

    const Setting listen = setting(m_listenOption, listenVariable, environment);
    static const QRegularExpression hostAndPort(QStringLiteral(R"(^\[?([^\[\]]+?)\]?:(\d{1,5})$)"));
    const QRegularExpressionMatch match = hostAndPort.match(listen.value);
    const QString host = match.captured(1);
    configuration.listenAddress = host == QStringLiteral("localhost") ? QHostAddress(QHostAddress::LocalHost)
                                                                       : QHostAddress(host);
    const uint port = match.captured(2).toUInt();
    if (!match.hasMatch() || configuration.listenAddress.isNull() || port > 65535)
        throw ConfigurationError(QStringLiteral("%1: expected host:port such as 127.0.0.1:8787 or [::1]:8787, got \"%2\"")
                                     .arg(listen.source, listen.value));
    configuration.listenPort = quint16(port);
    configuration.hostNames = setting(m_hostNamesOption, hostNamesVariable, environment)
                                  .value.toLower()
                                  .split(u',', Qt::SkipEmptyParts);
    for (QString &name : configuration.hostNames)
        name = name.trimmed();

    const Setting lifetime = setting(m_lifetimeOption, lifetimeVariable, environment);
    bool isNumber = false;
    configuration.lifetime = std::chrono::seconds(lifetime.value.toLongLong(&isNumber));
    if (!isNumber || configuration.lifetime < minimumLifetime
        || configuration.lifetime > DeveloperTokenSigner::maximumLifetime)
        throw ConfigurationError(QStringLiteral("%1: expected a number of seconds from %2 to %3, got \"%4\"")
                                     .arg(lifetime.source)
                                     .arg(minimumLifetime.count())
                                     .arg(DeveloperTokenSigner::maximumLifetime.count())
                                     .arg(lifetime.value));
    return configuration;
}

TokenServerCommandLine::Setting TokenServerCommandLine::setting(const QCommandLineOption &option,
                                                                const QString &variable,
                                                                const QProcessEnvironment &environment) const
{
    const QString flag = QStringLiteral("--") + option.names().constFirst();
    if (m_parser.isSet(option))
        return {m_parser.value(option), flag};
    const QString fromEnvironment = environment.value(variable);
    if (!fromEnvironment.isEmpty())
        return {fromEnvironment, variable};
    return {option.defaultValues().value(0), flag};
}

QString TokenServerCommandLine::requiredValue(const QCommandLineOption &option, const QString &variable,
                                             const QProcessEnvironment &environment) const
{
    QString value = setting(option, variable, environment).value;
    if (value.isEmpty())
        throw ConfigurationError(QStringLiteral("Missing --%1 (or $%2)").arg(option.names().constFirst(), variable));
    return value;
}

} // namespace airnote
