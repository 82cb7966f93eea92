#pragma once

#include <QString>

#include <coroutine>
#include <memory>
#include <optional>

namespace vesnara {

/// The answer to one question the window asks, shared by the asking coroutine and the host that
/// shows the question. It is given once; the coroutine resumes through the event loop, never
/// inside the call that answered (a QML button's handler, say).
class PendingAnswer {
public:
    /// Nothing is a cancel. Later calls do nothing.
    void give(std::optional<QString> answer);
    bool isGiven() const { return m_given; }
    const std::optional<QString>& answer() const { return m_answer; }

    struct Awaiter {
        std::shared_ptr<PendingAnswer> pending;
        bool await_ready() const noexcept { return pending->m_given; }
        void await_suspend(std::coroutine_handle<> waiter) noexcept { pending->m_waiter = waiter; }
        void await_resume() const noexcept {}
    };

private:
    std::optional<QString> m_answer;
    bool m_given = false;
    std::coroutine_handle<> m_waiter;
};

/// The one question a host shows at a time. A newer question answers the older as cancelled:
/// it was asked about a state that the newer request has already moved past, and a backlog of
/// hidden questions would pop up one after the other out of context.
class WindowQuestion {
public:
    WindowQuestion() = default;
    WindowQuestion(const WindowQuestion&) = delete;
    WindowQuestion& operator=(const WindowQuestion&) = delete;
    /// An unanswered question is cancelled.
    ~WindowQuestion() { answer(std::nullopt); }

    /// The new question's answer, to be awaited; the open one, if any, is cancelled first.
    std::shared_ptr<PendingAnswer> ask();
    /// Answers the open question; false when none is open.
    bool answer(std::optional<QString> answer);
    bool isOpen() const { return m_open != nullptr; }

private:
    std::shared_ptr<PendingAnswer> m_open;
};

} // namespace vesnara
