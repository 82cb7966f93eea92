#pragma once

#include <QCoroTask>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <mutex>

namespace vesnara {

/// What a capture object needs to keep the sound server off the main thread: a worker thread for
/// the backend's stream calls, and the numbering of its runs.
///
/// The calls run on one thread, one at a time, in the order they were asked for, so a stop and a
/// later start reach the backend in that order. Each start and stop begins a new run; a stream
/// callback carries its run's number and does its work through `ifCurrent`, under the lock that
/// `beginRun` takes, so once `beginRun` has returned no callback of an earlier run is working or
/// will work. Used from the owner's thread, but `ifCurrent` (any thread).
class CaptureWorker {
public:
    /// `name` names the worker thread.
    explicit CaptureWorker(const QString& name);
    /// Waits for the calls still queued.
    ~CaptureWorker();
    CaptureWorker(const CaptureWorker&) = delete;
    CaptureWorker& operator=(const CaptureWorker&) = delete;

    /// Begins a new run and gives its number. `reset`, when given, runs under the lock: it resets
    /// what the callbacks feed.
    quint64 beginRun(const std::function<void()>& reset = {});
    bool isCurrentRun(quint64 run);
    /// Runs `work` under the lock when `run` is still the current run; any thread. `work` must
    /// return quickly: `beginRun` waits for it.
    template <typename Work> void ifCurrent(quint64 run, Work&& work) {
        std::lock_guard lock(m_mutex);
        if (run == m_run)
            work();
    }

    /// Runs `call` on the worker thread after every call asked for before. The task ends when it
    /// has run: true, or false when `retire` came meanwhile (the owner is gone: touch nothing of
    /// it).
    QCoro::Task<bool> call(std::function<void()> call);
    /// Queues `call` without waiting for it.
    void post(std::function<void()> call);
    /// For the owner's destructor: begins a last run, queues `finalCall` and waits for every
    /// call. Tasks of `call` that resume afterwards give false.
    void retire(std::function<void()> finalCall);

private:
    std::mutex m_mutex;
    quint64 m_run = 0;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    QThreadPool m_pool;
};

} // namespace vesnara
