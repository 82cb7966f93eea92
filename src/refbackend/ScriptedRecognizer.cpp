#include "refbackend/ScriptedRecognizer.h"

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

ScriptedEvent ScriptedEvent::atStart(QJsonObject message) {
    return ScriptedEvent{Trigger::onStart, 0, std::move(message)};
}

ScriptedEvent ScriptedEvent::afterFrames(int frames, QJsonObject message) {
    return ScriptedEvent{Trigger::afterFrames, frames, std::move(message)};
}

ScriptedEvent ScriptedEvent::atStop(QJsonObject message) {
    return ScriptedEvent{Trigger::onStop, 0, std::move(message)};
}

ScriptedRecognizer::ScriptedRecognizer(QList<ScriptedEvent> script)
    : m_script(std::move(script)) {
    if (m_script.isEmpty()) {
        m_script.append(ScriptedEvent::atStart(
            QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"listening"_s}}));
    }
}

void ScriptedRecognizer::start(const QString&, const QString&) {
    emitTriggered(ScriptedEvent::Trigger::onStart);
}

void ScriptedRecognizer::audio(QByteArrayView) {
    ++m_frames;
    for (const auto& event : std::as_const(m_script)) {
        if (event.trigger == ScriptedEvent::Trigger::afterFrames && event.frames == m_frames)
            emitEvent(event.message);
    }
}

void ScriptedRecognizer::stop() {
    emitTriggered(ScriptedEvent::Trigger::onStop);
}

void ScriptedRecognizer::emitTriggered(ScriptedEvent::Trigger trigger) {
    for (const auto& event : std::as_const(m_script)) {
        if (event.trigger == trigger)
            emitEvent(event.message);
    }
}

} // namespace vesnara::refbackend
