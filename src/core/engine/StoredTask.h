#pragma once

#include "async/CancellationToken.h"

#include <QCoroTask>

#include <optional>

namespace vesnara {

/// A stored background task: the running coroutine and the source of its token.
/// "Cancel and clear" cancels the token and drops both; the coroutine ends at its next check.
class StoredTask {
public:
    /// Cancels the previous task and hands out the token of the next one.
    CancellationToken renew();
    /// Keeps the coroutine started with the token of the last `renew`.
    void hold(QCoro::Task<> task) { m_task.emplace(std::move(task)); }
    void cancelAndClear();
    /// Cancels without clearing.
    void cancel();
    bool isHeld() const { return m_source.has_value(); }

private:
    std::optional<CancellationSource> m_source;
    std::optional<QCoro::Task<>> m_task;
};

} // namespace vesnara
