#include "async/CancellationToken.h"

#include <QCoroTimer>
#include <QThread>
#include <QTimer>

namespace vesnara {

void CancellationState::cancel() {
    if (m_cancelled.exchange(true, std::memory_order_acq_rel))
        return;
    Q_EMIT cancelled();
}

CancellationSource::CancellationSource()
    // Tokens may be dropped on another thread; the QObject must die on its own.
    : m_state(new CancellationState, [](CancellationState* state) {
        if (state->thread() == QThread::currentThread())
            delete state;
        else
            state->deleteLater();
    }) {}

void CancellationSource::cancel() {
    if (m_state)
        m_state->cancel();
}

QCoro::Task<bool> sleepFor(std::chrono::milliseconds duration, CancellationToken token) {
    if (token.isCancelled())
        co_return false;
    QTimer timer;
    timer.setSingleShot(true);
    // Restarting with no interval ends the wait on the next turn of the event loop, so the
    // sleeper never resumes inside the canceller's call. The connection dies with the timer.
    token.onCancelled(&timer, [&timer] { timer.start(0); });
    timer.start(std::max(duration, std::chrono::milliseconds(0)));
    co_await timer;
    co_return !token.isCancelled();
}

} // namespace vesnara
