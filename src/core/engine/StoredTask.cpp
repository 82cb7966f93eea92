#include "engine/StoredTask.h"

namespace vesnara {

CancellationToken StoredTask::renew() {
    cancel();
    m_task.reset();
    m_source.emplace();
    return m_source->token();
}

void StoredTask::cancelAndClear() {
    cancel();
    m_source.reset();
    m_task.reset();
}

void StoredTask::cancel() {
    if (m_source)
        m_source->cancel();
}

} // namespace vesnara
