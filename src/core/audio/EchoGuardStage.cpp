#include "audio/EchoGuardStage.h"

#include <chrono>

using namespace Qt::StringLiterals;

namespace vesnara {

EchoGuardStage::EchoGuardStage(FrameSink cleaned, const EchoGuardTuning& tuning)
    : m_core(std::make_shared<Core>(std::move(cleaned), tuning))
    , m_active(m_core->guard.isActive())
    , m_worker(u"echo-guard"_s) {}

EchoGuardStage::~EchoGuardStage() {
    close();
}

qint64 EchoGuardStage::arrivalNowUs() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

void EchoGuardStage::Core::handOut(const QList<QByteArray>& frames) const {
    for (const QByteArray& frame : frames)
        cleaned(frame);
}

void EchoGuardStage::farEnd(QByteArray frame) {
    const qint64 arrival = arrivalNowUs();
    m_worker.post([core = m_core, frame = std::move(frame), arrival] {
        if (!core->closed)
            core->handOut(core->guard.pushFarEnd(frame, arrival));
    });
}

void EchoGuardStage::nearEnd(QByteArray frame) {
    const qint64 arrival = arrivalNowUs();
    m_worker.post([core = m_core, frame = std::move(frame), arrival] {
        if (!core->closed)
            core->handOut(core->guard.pushNearEnd(frame, arrival));
    });
}

void EchoGuardStage::close() {
    if (m_closed)
        return;
    m_closed = true;
    m_worker.retire([core = m_core] {
        if (core->closed)
            return;
        core->handOut(core->guard.drain());
        core->closed = true;
    });
}

std::function<void(QByteArray)> nearEndHook(std::shared_ptr<EchoGuardStage> stage) {
    return [stage = std::move(stage)](QByteArray frame) { stage->nearEnd(std::move(frame)); };
}

std::function<void(QByteArray)> farEndHook(std::shared_ptr<EchoGuardStage> stage,
                                           std::function<void(QByteArray)> next) {
    return [stage = std::move(stage), next = std::move(next)](QByteArray frame) {
        stage->farEnd(frame);
        next(std::move(frame));
    };
}

} // namespace vesnara
