#include "MusicUserTokenProvider.h"

#include <QCoro/QCoroSignal>
#include <qt6keychain/keychain.h>

namespace airnote {

namespace {

const QString keychainService = QStringLiteral("com.velmorin.Airnote");
const QString keychainKey = QStringLiteral("music-user-token");

template<typename Job>
Job *newJob(QObject *owner)
{
    auto *job = new Job(keychainService, owner);
    // Deleting the job before its queued finished signal is delivered would leave
    // the awaiting coroutine suspended forever, so its deletion is ours.
    job->setAutoDelete(false);
    job->setKey(keychainKey);
    return job;
}

MusicUserTokenProvider::Unavailable noStoredToken()
{
    return MusicUserTokenProvider::Unavailable(
        QStringLiteral("No Apple Music user token is stored: sign in to Apple Music first"));
}

} // namespace

MusicUserTokenProvider::MusicUserTokenProvider(std::chrono::milliseconds keychainTimeout, QObject *parent)
    : QObject(parent)
    , m_keychainTimeout(keychainTimeout)
{
}

QString MusicUserTokenProvider::environmentToken()
{
    return qEnvironmentVariable("AIRNOTE_MUSIC_USER_TOKEN");
}

QCoro::Task<QString> MusicUserTokenProvider::userToken(QString developerToken)
{
    Q_UNUSED(developerToken);
    if (const QString token = environmentToken(); !token.isEmpty())
        co_return token;

    auto *job = newJob<QKeychain::ReadPasswordJob>(this);
    const QKeychain::Error error = co_await run(job, QStringLiteral("read"));
    const QString token = job->textData();
    job->deleteLater();
    if (error == QKeychain::EntryNotFound || (error == QKeychain::NoError && token.isEmpty()))
        throw noStoredToken();
    co_return token;
}

QCoro::Task<> MusicUserTokenProvider::store(QString token)
{
    auto *job = newJob<QKeychain::WritePasswordJob>(this);
    job->setTextData(token);
    co_await run(job, QStringLiteral("store"));
    job->deleteLater();
}

QCoro::Task<> MusicUserTokenProvider::clear()
{
    auto *job = newJob<QKeychain::DeletePasswordJob>(this);
    co_await run(job, QStringLiteral("delete"));
    job->deleteLater();
}

QCoro::Task<QKeychain::Error> MusicUserTokenProvider::run(QKeychain::Job *job, QString action)
{
    auto finished = qCoro(job, &QKeychain::Job::finished, m_keychainTimeout);
    job->start();
    if (!(co_await finished)) {
        connect(job, &QKeychain::Job::finished, job, &QObject::deleteLater);
        throw Unavailable(QStringLiteral("The system keychain did not answer in time: could not %1 the Apple Music user token")
                              .arg(action));
    }
    const QKeychain::Error error = job->error();
    if (error != QKeychain::NoError && error != QKeychain::EntryNotFound) {
        const bool denied = error == QKeychain::AccessDenied || error == QKeychain::AccessDeniedByUser;
        const QString reason = denied ? QStringLiteral("access was denied")
                                      : QStringLiteral("is a Secret Service such as GNOME Keyring or KWallet running?");
        const QString detail = job->errorString();
        job->deleteLater();
        throw Unavailable(QStringLiteral("The system keychain could not %1 the Apple Music user token: %2 (%3)")
                              .arg(action, reason, detail));
    }
    co_return error;
}

} // namespace airnote
