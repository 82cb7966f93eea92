#pragma once

#include "audio/CaptureWorker.h"
#include "audio/EchoGuard.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace vesnara {

/// Runs an `EchoGuard` for one mixed recording on a worker thread of its own, between the two
/// capture threads and the mixer.
///
/// `farEnd` and `nearEnd` may be called from any thread (the capture threads): they stamp the
/// frame's arrival and queue it to the worker, so a capture callback never waits on the
/// canceller. Cleaned microphone frames go to the sink handed in, on the worker thread, in
/// order. `close` cleans what is still held, hands it out and waits for the worker; frames
/// after it are dropped.
class EchoGuardStage {
public:
    using FrameSink = std::function<void(QByteArray)>;

    explicit EchoGuardStage(FrameSink cleaned, const EchoGuardTuning& tuning = {});
    /// Closes.
    ~EchoGuardStage();
    EchoGuardStage(const EchoGuardStage&) = delete;
    EchoGuardStage& operator=(const EchoGuardStage&) = delete;

    /// False when the canceller could not start: nothing should be routed through the stage.
    bool isActive() const { return m_active; }

    void farEnd(QByteArray frame);
    void nearEnd(QByteArray frame);
    void close();

    /// A frame's arrival on the clock the guard aligns by.
    static qint64 arrivalNowUs();

private:
    struct Core {
        explicit Core(FrameSink sink, const EchoGuardTuning& tuning)
            : guard(tuning)
            , cleaned(std::move(sink)) {}
        EchoGuard guard;
        FrameSink cleaned;
        bool closed = false;

        void handOut(const QList<QByteArray>& frames) const;
    };

    std::shared_ptr<Core> m_core;
    bool m_active = false;
    bool m_closed = false;
    CaptureWorker m_worker;
};

/// The microphone's capture hook through `stage`: its cleaned frames reach the stage's sink.
std::function<void(QByteArray)> nearEndHook(std::shared_ptr<EchoGuardStage> stage);
/// The system audio's capture hook: `next` with every frame as it is, and a copy to `stage` as
/// the reference.
std::function<void(QByteArray)> farEndHook(std::shared_ptr<EchoGuardStage> stage,
                                           std::function<void(QByteArray)> next);

} // namespace vesnara
