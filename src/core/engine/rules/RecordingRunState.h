#pragma once

namespace vesnara {

/// Where the recording on screen stands. The four flags the screens bind to are derived from it,
/// so no combination of them can contradict another.
enum class RecordingRunState {
    idle,
    /// The session is being created and the sources opened.
    starting,
    recording,
    /// Recording, with silence sent in place of audio.
    paused,
    /// Paused, while the session and stream are checked before unmuting.
    resuming,
    /// Stopped by the user; the last lines are being fetched and the session saved. A new
    /// recording may start meanwhile.
    finishing,
};

struct RecordingRunFlags {
    bool isStartingRecording = false;
    bool isRecording = false;
    bool isPaused = false;
    bool isResumingRecording = false;

    friend bool operator==(const RecordingRunFlags&, const RecordingRunFlags&) = default;
};

RecordingRunFlags flagsOf(RecordingRunState state);

/// Starting, recording, paused or resuming: a run that owns the sources and the stream.
bool isLive(RecordingRunState state);

} // namespace vesnara
