#pragma once

#include <QJsonObject>
#include <QString>

namespace vesnara {

class JsonReader;

/// The body of a session creation: the language and model of the new session.
struct STTSessionCreateRequest {
    QString language;
    QString sttModel;
    /// The client always asks for interim (partial) lines.
    bool enableInterim = true;
    /// The client never asks for speaker separation, and so counts no speakers.
    bool enableSpeakerDiarization = false;
    qint64 speakerCount = 0;

    /// Every key is required. Throws `JsonDecodeError` naming the first missing or mistyped key.
    static STTSessionCreateRequest fromJson(const JsonReader& json);
    QJsonObject toJson() const;

    friend bool operator==(const STTSessionCreateRequest&,
                           const STTSessionCreateRequest&) = default;
};

} // namespace vesnara
