#pragma once

#include <QByteArrayView>
#include <QJsonObject>
#include <QString>

#include <functional>

namespace vesnara::refbackend {

/// Turns one stream's audio into transcript events. A recogniser serves one session; the stream
/// handler feeds it in the order the audio arrived and sends whatever it emits to the client.
///
/// Events are the wire messages themselves: {"type":"partial","text":…},
/// {"type":"final","text":…,"ts":…,"speakerLabel":…}, {"type":"status","state":…},
/// {"type":"error","message":…}. A final line is also recorded in the session's transcript.
class Recognizer {
public:
    using EventSink = std::function<void(const QJsonObject& event)>;

    virtual ~Recognizer() = default;

    /// Where events go; set once by the owner before `start`.
    void setEventSink(EventSink sink) { m_sink = std::move(sink); }

    /// A start message arrived (on the first or a reconnected connection).
    virtual void start(const QString& language, const QString& sttModel) = 0;
    /// One chunk of 16 kHz mono signed 16-bit little-endian PCM, any even length.
    virtual void audio(QByteArrayView pcm) = 0;
    /// The client sent its stop message: flush what is pending.
    virtual void stop() = 0;

protected:
    void emitEvent(const QJsonObject& event) const {
        if (m_sink)
            m_sink(event);
    }

private:
    EventSink m_sink;
};

} // namespace vesnara::refbackend
