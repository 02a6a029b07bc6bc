// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MusicAuthorization.h"

#include "core/Logging.h"
#include "platform/MusicUserTokenProvider.h"
#include "core/Settings.h"

#include <QCoro/QCoroSignal>
#include <QMetaEnum>
#include <QSettings>

namespace airnote {

namespace {

const QString declinedKey = QStringLiteral("musicSignInDeclined");

} // namespace

MusicAuthorization::MusicAuthorization(MusicUserTokenProvider *userTokens, QObject *parent)
    : MusicAuthorization(userTokens, Configuration{}, parent)
{
}

MusicAuthorization::MusicAuthorization(MusicUserTokenProvider *userTokens, Configuration configuration, QObject *parent)
    : QObject(parent)
    , m_userTokens(userTokens)
    , m_configuration(std::move(configuration))
    , m_settings(openSettings(m_configuration.settingsFile))
    , m_signInServer(m_configuration.signInTimeout)
    // The environment token and the refusal are what can be known without waiting.
    , m_status(!MusicUserTokenProvider::environmentToken().isEmpty() ? Status::authorized
               : isDeclined()                                         ? Status::denied
                                                                      : Status::notDetermined)
{
}

MusicAuthorization::~MusicAuthorization() = default;

void MusicAuthorization::setDeveloperTokenSource(DeveloperTokenSource source)
{
    m_developerTokenSource = std::move(source);
}

MusicAuthorization::Status MusicAuthorization::currentStatus() const
{
    return m_status;
}

QCoro::Task<MusicAuthorization::Status> MusicAuthorization::request()
{
    if (!m_signInRunning) {
        const bool signInWanted = co_await refreshStatus();
        if (signInWanted)
            runSignIn();
    }
    if (m_signInRunning)
        co_await qCoro(this, &MusicAuthorization::signInFinished);
    const Status status = m_status;  // a const copy (core/Coroutines.h)
    co_return status;
}

void MusicAuthorization::signIn()
{
    setDeclined(false);
    m_automaticSignInHeld = false;
    if (!m_signInRunning)
        runSignIn();
}

void MusicAuthorization::signOut()
{
    setDeclined(true);
    signOutNow();
}

QCoro::Task<> MusicAuthorization::forgetRejectedToken()
{
    qCInfo(musicLogger, "Apple Music no longer accepts the music user token: it is forgotten until the next sign-in");
    setDeclined(false);
    m_automaticSignInHeld = false;
    co_await clearStoredToken();
    setStatus(Status::notDetermined);
}

QString MusicAuthorization::text(Status status)
{
    return QString::fromLatin1(QMetaEnum::fromType<Status>().valueToKey(static_cast<int>(status)));
}

QCoro::Task<bool> MusicAuthorization::refreshStatus()
{
    QString token;
    try {
        token = co_await m_userTokens->storedToken();
    } catch (const MusicUserTokenProvider::Unavailable &error) {
        qCCritical(musicLogger, "Apple Music user token unavailable: %s", qUtf8Printable(error.localizedDescription()));
        setStatus(statusWithoutToken());
        // A keychain that cannot be read could not keep a new token either.
        co_return false;
    }
    if (!token.isEmpty()) {
        setStatus(Status::authorized);
        co_return false;
    }
    setStatus(statusWithoutToken());
    // Another request may have started the sign-in while the keychain answered.
    co_return m_status == Status::notDetermined && !isDeclined() && !m_automaticSignInHeld && !m_signInRunning;
}

QCoro::Task<> MusicAuthorization::runSignIn()
{
    m_signInRunning = true;
    const Status outcome = co_await signInOutcome();
    m_signInRunning = false;
    setStatus(outcome);
    Q_EMIT signInFinished();
}

QCoro::Task<MusicAuthorization::Status> MusicAuthorization::signInOutcome()
{
    QString developerToken;
    try {
        if (!m_developerTokenSource)
            throw ConfigurationError(QStringLiteral("no developer token source is set"));
        developerToken = co_await m_developerTokenSource();
    } catch (const Error &error) {
        qCCritical(musicLogger, "Apple Music sign-in needs a developer token: %s", qUtf8Printable(error.localizedDescription()));
        co_return Status::notDetermined;
    }
    SignInResult result;
    try {
        result = co_await m_signInServer.run(developerToken, m_configuration.openBrowser);
    } catch (const NetworkError &) {
        // The server has logged why it could not listen; nothing was opened.
        co_return Status::notDetermined;
    }
    switch (result.outcome) {
    case SignInResult::Outcome::authorized:
        co_return co_await keepSignedInToken(result.musicUserToken);
    case SignInResult::Outcome::declined:
        setDeclined(true);
        co_return Status::denied;
    case SignInResult::Outcome::timedOut:
    case SignInResult::Outcome::failed:
        break;
    }
    m_automaticSignInHeld = true;
    co_return Status::notDetermined;
}

QCoro::Task<MusicAuthorization::Status> MusicAuthorization::keepSignedInToken(QString token)
{
    try {
        co_await m_userTokens->store(token);
    } catch (const MusicUserTokenProvider::Unavailable &error) {
        qCCritical(musicLogger, "Apple Music sign-in could not be kept: %s", qUtf8Printable(error.localizedDescription()));
        m_automaticSignInHeld = true;
        co_return Status::notDetermined;
    }
    co_return Status::authorized;
}

QCoro::Task<> MusicAuthorization::signOutNow()
{
    co_await clearStoredToken();
    setStatus(Status::notDetermined);
}

QCoro::Task<> MusicAuthorization::clearStoredToken()
{
    try {
        co_await m_userTokens->clear();
    } catch (const MusicUserTokenProvider::Unavailable &error) {
        qCCritical(musicLogger, "Apple Music user token not removed: %s", qUtf8Printable(error.localizedDescription()));
    }
}

MusicAuthorization::Status MusicAuthorization::statusWithoutToken() const
{
    // A refusal stands until signIn(); anything else without a token is an open question.
    return m_status == Status::denied ? Status::denied : Status::notDetermined;
}

void MusicAuthorization::setStatus(Status status)
{
    if (status == m_status)
        return;
    m_status = status;
    Q_EMIT statusChanged();
}

bool MusicAuthorization::isDeclined() const
{
    return m_settings->value(declinedKey, false).toBool();
}

void MusicAuthorization::setDeclined(bool declined)
{
    if (declined)
        m_settings->setValue(declinedKey, true);
    else
        m_settings->remove(declinedKey);
    m_settings->sync();
}

} // namespace airnote
