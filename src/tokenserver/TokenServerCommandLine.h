// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QHostAddress>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>

namespace airnote {

struct TokenServerConfiguration
{
    QString keyFile;
    QString keyId;
    QString teamId;
    QHostAddress listenAddress;
    quint16 listenPort = 0;
    QStringList hostNames;
    std::chrono::seconds lifetime{0};
};

// Flags first, then the matching AIRNOTE_* variable, then the default.
class TokenServerCommandLine
{
public:
    // Its renewal margin, 360 s, still covers the app's own 300 s safety and
    // 60 s reuse margins, so the app never keeps an expired token.
    static constexpr std::chrono::seconds minimumLifetime{3600};

    TokenServerCommandLine();

    // Throws ConfigurationError for an unknown option or a missing value.
    void parse(const QStringList &arguments);
    bool isHelpRequested() const;
    QString helpText() const;

    // Throws ConfigurationError naming the flag or variable at fault.
    TokenServerConfiguration configuration(const QProcessEnvironment &environment) const;

private:
    struct Setting
    {
        QString value;
        QString source;  // the flag or the variable the value came from
    };

    Setting setting(const QCommandLineOption &option, const QString &variable,
                    const QProcessEnvironment &environment) const;
    QString requiredValue(const QCommandLineOption &option, const QString &variable,
                          const QProcessEnvironment &environment) const;

    QCommandLineParser m_parser;
    QCommandLineOption m_helpOption;
    QCommandLineOption m_keyFileOption;
    QCommandLineOption m_keyIdOption;
    QCommandLineOption m_teamIdOption;
    QCommandLineOption m_listenOption;
    QCommandLineOption m_hostNamesOption;
    QCommandLineOption m_lifetimeOption;
};

} // namespace airnote
