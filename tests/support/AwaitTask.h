#pragma once

#include <QCoroTask>
#include <QTest>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <variant>

namespace vesnara::test {

/// How a task ended: its value, or what it threw.
template <typename T> struct TaskOutcome {
    bool finished = false;
    std::optional<T> value;
    std::exception_ptr error;

    /// The thrown exception as `E`, or nothing when the task threw nothing or something else.
    template <typename E> std::optional<E> errorAs() const {
        if (!error)
            return std::nullopt;
        try {
            std::rethrow_exception(error);
        } catch (const E& e) {
            return e;
        } catch (...) {
        }
        return std::nullopt;
    }
};

template <typename T>
using OutcomeOf = TaskOutcome<std::conditional_t<std::is_void_v<T>, std::monostate, T>>;

template <typename T>
QCoro::Task<> settleInto(QCoro::Task<T> task, std::shared_ptr<OutcomeOf<T>> outcome) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            outcome->value = std::monostate{};
        } else {
            outcome->value = co_await std::move(task);
        }
    } catch (...) {
        outcome->error = std::current_exception();
    }
    outcome->finished = true;
}

/// Lets `task` run on; its outcome fills in when it ends.
template <typename T> std::shared_ptr<OutcomeOf<T>> startTask(QCoro::Task<T> task) {
    auto outcome = std::make_shared<OutcomeOf<T>>();
    settleInto(std::move(task), outcome);
    return outcome;
}

/// Runs the event loop until the task ends or `deadline` passes (then `finished` is false).
template <typename Outcome>
Outcome waitFor(const std::shared_ptr<Outcome>& outcome,
                std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    // The caller reads `finished`; the wait's own verdict says the same.
    static_cast<void>(QTest::qWaitFor([&outcome] { return outcome->finished; },
                                      static_cast<int>(deadline.count())));
    return *outcome;
}

/// `startTask` and `waitFor` in one. Unlike a plain blocking wait, a task that throws ends the
/// wait with its exception.
template <typename T>
OutcomeOf<T> awaitTask(QCoro::Task<T> task,
                       std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    return waitFor(startTask(std::move(task)), deadline);
}

/// `awaitTask` for a task that should simply succeed: true when it ended in time without
/// throwing; otherwise false, with the reason in the test's output.
template <typename T>
bool succeeds(QCoro::Task<T> task, std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    const auto outcome = awaitTask(std::move(task), deadline);
    if (!outcome.finished) {
        qWarning("the task did not end in time");
        return false;
    }
    if (outcome.error) {
        try {
            std::rethrow_exception(outcome.error);
        } catch (const std::exception& e) {
            qWarning("the task threw: %s", e.what());
        } catch (...) {
            qWarning("the task threw something that is not a std::exception");
        }
        return false;
    }
    return true;
}

} // namespace vesnara::test
