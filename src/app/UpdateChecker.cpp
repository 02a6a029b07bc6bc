// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "UpdateChecker.h"

#include "app/Appcast.h"
#include "core/Endpoints.h"
#include "core/Error.h"
#include "core/Logging.h"

#include <QCoreApplication>
#include <QNetworkRequest>


#include <optional>
#include <utility>

namespace airnote {

UpdateChecker::UpdateChecker(QNetworkAccessManager *network, QObject *parent)
    : UpdateChecker(network, Endpoints::current().updateFeed, QCoreApplication::applicationVersion(),
                    defaultInterval, parent)
{
}

UpdateChecker::UpdateChecker(QNetworkAccessManager *network, QUrl feedURL, QString runningVersion,
                             std::chrono::milliseconds interval, QObject *parent)
    : QObject(parent)
    , m_web(network)
    , m_feedURL(std::move(feedURL))
    , m_runningVersion(std::move(runningVersion))
{
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &UpdateChecker::startCheck);
}

UpdateChecker::State UpdateChecker::state() const
{
    return m_state;
}

QUrl UpdateChecker::downloadURL() const
{
    return m_downloadURL;
}

QString UpdateChecker::message() const
{
    switch (m_state) {
    case State::Idle:
        return {};
    case State::Checking:
        return tr("Recherche d'une mise à jour…");
    case State::UpToDate:
        return tr("Airnote est à jour");
    case State::UpdateAvailable:
        return tr("Airnote %1 est disponible (version installée : %2)")
            .arg(m_latestVersion, m_runningVersion);
    case State::Failed:
        return m_errorText;
    }
    return {};
}

UpdateChecker::~UpdateChecker()
{
    // Otherwise the check's frame would stay suspended for good.
    m_stopping = true;
    m_web.abortAll();
}

void UpdateChecker::start()
{
    if (m_feedURL.isEmpty() || m_timer.isActive())
        return;
    m_timer.start();
    startCheck();
}

QCoro::Task<> UpdateChecker::checkForUpdates()
{
    m_listenerWaiting = true;
    startCheck();
    // Joined through its task, not through stateChanged(): QCoro 0.8 still delivers
    // an emission queued before the awaiter resumed, into the freed frame.
    co_await m_checkInFlight;
}

void UpdateChecker::startCheck()
{
    if (m_checkInFlight.isReady())
        m_checkInFlight = check();
}

QCoro::Task<> UpdateChecker::check()
{
    // Only a stateChanged() handler starting a check finds one in flight here.
    if (m_state == State::Checking)
        co_return;
    if (m_feedURL.isEmpty()) {
        fail(tr("aucun flux de mises à jour n'est configuré"));
        co_return;
    }
    setResult(State::Checking);
    try {
        const QByteArray xml = co_await fetchFeed();
        if (m_stopping)
            co_return;
        const std::optional<AppcastItem> newest = newestItem(parseAppcast(xml));
        // The program knows only its short version, so the feed is judged by its short version too.
        if (!newest || compareVersions(newest->displayVersion(), m_runningVersion) <= 0)
            setResult(State::UpToDate);
        // The link goes to the desktop's handler, which opens any scheme: a file,
        // a script, a plain-http page someone on the way can rewrite.
        else if (newest->downloadURL.scheme() != QStringLiteral("https"))
            fail(tr("lien de téléchargement refusé (https seulement)"));
        else
            setResult(State::UpdateAvailable, newest->displayVersion(), newest->downloadURL);
    } catch (const Error &error) {
        if (!m_stopping)
            fail(error.localizedDescription());
    }
}

QCoro::Task<QByteArray> UpdateChecker::fetchFeed()
{
    const WebResponse response = co_await m_web.send(WebRequest(QNetworkRequest(m_feedURL)));
    if (response.statusCode && !response.isSuccess())
        throw NetworkError(tr("le serveur a répondu HTTP %1").arg(*response.statusCode));
    co_return response.data;
}

void UpdateChecker::setResult(State state, QString latestVersion, QUrl downloadURL, QString errorText)
{
    m_state = state;
    m_latestVersion = std::move(latestVersion);
    m_downloadURL = std::move(downloadURL);
    m_errorText = std::move(errorText);
    const bool announce = state != State::Checking
        && (std::exchange(m_listenerWaiting, false) || state == State::UpdateAvailable);
    Q_EMIT stateChanged();
    if (announce)
        Q_EMIT resultReady();
}

void UpdateChecker::fail(const QString &detail)
{
    qCWarning(uiLogger).noquote() << "Update check failed:" << detail;
    setResult(State::Failed, {}, {}, tr("Vérification impossible : %1").arg(detail));
}

} // namespace airnote
