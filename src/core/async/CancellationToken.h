#pragma once

#include <QCoroTask>
#include <QObject>

#include <atomic>
#include <chrono>
#include <memory>

namespace vesnara {

/// The shared state behind one `CancellationSource` and its tokens. It lives on the thread that
/// created the source; `cancelled()` is emitted there once, by the first `cancel()`.
class CancellationState final : public QObject {
    Q_OBJECT

public:
    CancellationState() = default;

    /// Safe from any thread.
    bool isCancelled() const { return m_cancelled.load(std::memory_order_acquire); }
    /// Marks the state cancelled and emits `cancelled()` the first time only.
    void cancel();

Q_SIGNALS:
    void cancelled();

private:
    std::atomic<bool> m_cancelled{false};
};

/// A cheap, copyable view of a `CancellationSource`: asynchronous steps take one by value and
/// check it after each wait. A default-constructed token belongs to no source and is never
/// cancelled.
class CancellationToken {
public:
    CancellationToken() = default;

    bool isCancelled() const { return m_state && m_state->isCancelled(); }
    /// False for a default-constructed token: nothing can ever cancel it.
    bool canBeCancelled() const { return m_state != nullptr; }

    /// Calls `slot` (in `context`'s thread, as `type` says) when the source is cancelled. The
    /// signal fires once: a token that is already cancelled never calls `slot`, so check
    /// `isCancelled()` first. Gives an invalid connection for a default-constructed token.
    template <typename Slot>
    QMetaObject::Connection onCancelled(const QObject* context, Slot slot,
                                        Qt::ConnectionType type = Qt::AutoConnection) const {
        if (!m_state)
            return {};
        return QObject::connect(m_state.get(), &CancellationState::cancelled, context,
                                std::move(slot), type);
    }

private:
    friend class CancellationSource;
    explicit CancellationToken(std::shared_ptr<CancellationState> state)
        : m_state(std::move(state)) {}

    std::shared_ptr<CancellationState> m_state;
};

/// Owned by whoever stores a task; hands out the tokens the task checks. "Cancel and clear"
/// is `cancel()` followed by dropping the source. Dropping a source without `cancel()` does
/// not cancel its tokens.
///
/// Create it on the thread whose event loop the task runs on; `cancel()` may be called from
/// any thread.
class CancellationSource {
public:
    CancellationSource();
    CancellationSource(CancellationSource&&) noexcept = default;
    CancellationSource& operator=(CancellationSource&&) noexcept = default;
    CancellationSource(const CancellationSource&) = delete;
    CancellationSource& operator=(const CancellationSource&) = delete;
    ~CancellationSource() = default;

    CancellationToken token() const { return CancellationToken(m_state); }
    /// Cancels every token of this source; later calls do nothing.
    void cancel();
    bool isCancelled() const { return m_state && m_state->isCancelled(); }

private:
    std::shared_ptr<CancellationState> m_state;
};

/// Waits `duration` on the running event loop without blocking it. Returns true when the whole
/// time has passed, false as soon as `token` is cancelled (at once when it already is). The
/// wait ends through the event loop, never inside the caller of `cancel()`.
QCoro::Task<bool> sleepFor(std::chrono::milliseconds duration, CancellationToken token = {});

} // namespace vesnara
