#pragma once

#include <QCoroTask>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace airnote {

// A timed wait that another party can end early without cancelling whoever awaits it.
class CancellableWait : public QObject
{
    Q_OBJECT

public:
    explicit CancellableWait(QObject *parent = nullptr);

    // Ends when the duration has run out or cancel() is called, whichever comes first.
    QCoro::Task<> wait(std::chrono::milliseconds duration);
    bool isPending() const;
    // Does nothing when no wait is pending.
    void cancel();

Q_SIGNALS:
    void ended();

private:
    QTimer m_timer;
};

} // namespace airnote
