#pragma once

#include <QString>

namespace vesnara {

class JsonReader;

/// The backend's answer to a session creation: the new session and where to stream its audio.
struct STTSessionCreateResponse {
    /// The server's id of the session, used in every later request about it.
    QString sessionId;
    /// Where the audio stream connects; the stream needs nothing else.
    QString wsUrl;
    /// Must be present, but is not used: the stream connects by `wsUrl` alone.
    QString token;

    /// Every key is required. Throws `JsonDecodeError` naming the first missing or mistyped key.
    static STTSessionCreateResponse fromJson(const JsonReader& json);

    friend bool operator==(const STTSessionCreateResponse&,
                           const STTSessionCreateResponse&) = default;
};

} // namespace vesnara
