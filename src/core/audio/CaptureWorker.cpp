#include "audio/CaptureWorker.h"

#include <QCoroFuture>
#include <QtConcurrent/QtConcurrentRun>

namespace vesnara {

CaptureWorker::CaptureWorker(const QString& name) {
    m_pool.setMaxThreadCount(1);
    m_pool.setObjectName(name);
}

CaptureWorker::~CaptureWorker() {
    m_pool.waitForDone();
}

quint64 CaptureWorker::beginRun(const std::function<void()>& reset) {
    std::lock_guard lock(m_mutex);
    if (reset)
        reset();
    return ++m_run;
}

bool CaptureWorker::isCurrentRun(quint64 run) {
    std::lock_guard lock(m_mutex);
    return run == m_run;
}

QCoro::Task<bool> CaptureWorker::call(std::function<void()> call) {
    const std::shared_ptr<bool> alive = m_alive;
    // Never QFuture::waitForFinished on these: it may run a queued call on the waiting thread,
    // ahead of the calls before it.
    QFuture<void> pending = QtConcurrent::run(&m_pool, std::move(call));
    co_await pending;
    co_return *alive;
}

void CaptureWorker::post(std::function<void()> call) {
    m_pool.start(std::move(call));
}

void CaptureWorker::retire(std::function<void()> finalCall) {
    *m_alive = false;
    beginRun();
    post(std::move(finalCall));
    m_pool.waitForDone();
}

} // namespace vesnara
