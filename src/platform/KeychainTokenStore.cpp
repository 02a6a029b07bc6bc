// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KeychainTokenStore.h"

#include "core/SignalWait.h"

namespace airnote {

namespace {

const QString keychainService = QStringLiteral("com.velmorin.Airnote");
const QString keychainKey = QStringLiteral("music-user-token");

template<typename Job>
Job *newJob()
{
    // No parent: the coroutine awaiting the job deletes it, once it has its answer.
    auto *job = new Job(keychainService);
    job->setAutoDelete(false);
    job->setKey(keychainKey);
    return job;
}

} // namespace

KeychainTokenStore::KeychainTokenStore(std::chrono::milliseconds timeout)
    : m_timeout(timeout)
{
}

QCoro::Task<QString> KeychainTokenStore::read()
{
    auto *job = newJob<QKeychain::ReadPasswordJob>();
    const QKeychain::Error error = co_await run(job, QStringLiteral("read"));
    const QString token = error == QKeychain::NoError ? job->textData() : QString();
    job->deleteLater();
    co_return token;
}

QCoro::Task<> KeychainTokenStore::write(QString token)
{
    auto *job = newJob<QKeychain::WritePasswordJob>();
    job->setTextData(token);
    co_await run(job, QStringLiteral("store"));
    job->deleteLater();
}

QCoro::Task<> KeychainTokenStore::remove()
{
    auto *job = newJob<QKeychain::DeletePasswordJob>();
    co_await run(job, QStringLiteral("delete"));
    job->deleteLater();
}

QCoro::Task<QKeychain::Error> KeychainTokenStore::run(QKeychain::Job *job, QString action)
{
    using Unavailable = MusicUserTokenProvider::Unavailable;
    SignalWait finished(job, &QKeychain::Job::finished, m_timeout);
    job->start();
    const bool answered = co_await finished;
    if (!answered) {
        QObject::connect(job, &QKeychain::Job::finished, job, &QObject::deleteLater);
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
