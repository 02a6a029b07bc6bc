#include "MusicAuthorization.h"

#include "MusicUserTokenProvider.h"

#include <QMetaEnum>

namespace airnote {

MusicAuthorization::MusicAuthorization(MusicUserTokenProvider *userTokens, QObject *parent)
    : QObject(parent)
    , m_userTokens(userTokens)
    // The environment token is the one source that can be known without waiting.
    , m_status(MusicUserTokenProvider::environmentToken().isEmpty() ? Status::notDetermined : Status::authorized)
{
}

MusicAuthorization::Status MusicAuthorization::currentStatus() const
{
    return m_status;
}

QCoro::Task<MusicAuthorization::Status> MusicAuthorization::request()
{
    try {
        co_await m_userTokens->userToken(QString());
        m_status = Status::authorized;
    } catch (const MusicUserTokenProvider::Unavailable &) {
        // Until the browser sign-in exists, a missing token leaves the question open.
        m_status = Status::notDetermined;
    }
    co_return m_status;
}

QString MusicAuthorization::text(Status status)
{
    return QString::fromLatin1(QMetaEnum::fromType<Status>().valueToKey(static_cast<int>(status)));
}

} // namespace airnote
