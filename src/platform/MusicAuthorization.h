#pragma once

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

namespace airnote {

class MusicUserTokenProvider;

// Whether the listener lets Airnote use Apple Music: authorized exactly when a
// music user token is available.
class MusicAuthorization : public QObject
{
    Q_OBJECT

public:
    enum class Status { notDetermined, denied, restricted, authorized };
    Q_ENUM(Status)

    explicit MusicAuthorization(MusicUserTokenProvider *userTokens, QObject *parent = nullptr);

    // The last known status, without asking the keychain.
    Status currentStatus() const;

    // Looks for a user token and answers the status it implies.
    QCoro::Task<Status> request();

    // The case's name, as logs show it.
    static QString text(Status status);

private:
    MusicUserTokenProvider *m_userTokens;
    Status m_status;
};

} // namespace airnote
