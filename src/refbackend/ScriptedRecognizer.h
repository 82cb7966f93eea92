#pragma once

#include "refbackend/Recognizer.h"

#include <QList>

namespace vesnara::refbackend {

/// One event of a test's script and the moment it is sent.
struct ScriptedEvent {
    enum class Trigger {
        onStart,     ///< each time a start message arrives (first and reconnected connections)
        afterFrames, ///< once, when the session has received `frames` audio frames
        onStop,      ///< when the client's stop message arrives
    };
    Trigger trigger = Trigger::onStart;
    int frames = 0;
    QJsonObject message;

    static ScriptedEvent atStart(QJsonObject message);
    static ScriptedEvent afterFrames(int frames, QJsonObject message);
    static ScriptedEvent atStop(QJsonObject message);
};

/// Sends exactly the events a test scripted, at the moments it chose. With an empty script it
/// only answers each start with the "listening" status.
class ScriptedRecognizer final : public Recognizer {
public:
    explicit ScriptedRecognizer(QList<ScriptedEvent> script);

    void start(const QString& language, const QString& sttModel) override;
    void audio(QByteArrayView pcm) override;
    void stop() override;

private:
    void emitTriggered(ScriptedEvent::Trigger trigger);

    QList<ScriptedEvent> m_script;
    int m_frames = 0;
};

} // namespace vesnara::refbackend
