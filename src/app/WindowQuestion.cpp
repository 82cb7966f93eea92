#include "WindowQuestion.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace vesnara {

void PendingAnswer::give(std::optional<QString> answer) {
    if (m_given)
        return;
    m_given = true;
    m_answer = std::move(answer);
    const std::coroutine_handle<> waiter = std::exchange(m_waiter, {});
    // Without an application nothing could run the rest of the command anyway.
    if (waiter && QCoreApplication::instance()) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [waiter] { waiter.resume(); }, Qt::QueuedConnection);
    }
}

std::shared_ptr<PendingAnswer> WindowQuestion::ask() {
    answer(std::nullopt);
    m_open = std::make_shared<PendingAnswer>();
    return m_open;
}

bool WindowQuestion::answer(std::optional<QString> answer) {
    if (!m_open)
        return false;
    std::exchange(m_open, nullptr)->give(std::move(answer));
    return true;
}

} // namespace vesnara
