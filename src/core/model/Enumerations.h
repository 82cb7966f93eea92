#pragma once

#include <QObject>

// The enumerations the screens read, in one header because a namespace carries one meta-object:
// registered with QML by the application, printed by name in Qt's debug output. Their raw
// values on the wire and in files come from each type's own functions, never from these names.

namespace vesnara {
Q_NAMESPACE

/// Which sources a recording captures. Not persisted: every launch starts with `microphone`.
enum class AudioInputMode { microphone, systemAudio, microphoneAndSystem };
Q_ENUM_NS(AudioInputMode)

/// A named set of mixer settings. `custom` is never chosen: it is what classification gives
/// for settings that match no other preset.
enum class MixPreset { meeting, interview, webinar, custom };
Q_ENUM_NS(MixPreset)

/// The file formats a transcript is exported in. Not persisted: every launch starts with `txt`.
enum class TranscriptExportFormat { txt, json, csv, srt, vtt };
Q_ENUM_NS(TranscriptExportFormat)

/// What a user's pin marks. Stored as its JSON value, which is also its id.
enum class TranscriptPinKind { important, topicChange, revisit };
Q_ENUM_NS(TranscriptPinKind)

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
Q_ENUM_NS(RecordingRunState)

} // namespace vesnara
