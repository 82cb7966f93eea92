#pragma once

#include "model/AudioInputMode.h"

#include <QString>

#include <optional>

namespace vesnara {

// What the status line says while a recording runs, and which stream reports end it.

/// The names a listening status may show. Each may be empty.
struct ListeningSourceNames {
    /// The microphone capture's device in use (microphone mode).
    QString activeInputDeviceName;
    /// The name of the selected microphone as the picker shows it (mixed mode).
    QString selectedInputDeviceName;
    /// The system audio capture's running source.
    QString systemSourceName;
};

/// The status of a running recording: "Tauolla" while paused, whatever the mode; otherwise
/// "Kuuntelen... (<source>)" with the mode's source, or "Kuuntelen..." when a single source has
/// no name. In mixed mode the source is "<selected microphone> + <system source>", the system
/// source's fallback name standing in for an empty one.
QString listeningStatusText(AudioInputMode mode, bool isPaused, const ListeningSourceNames& names);

/// The status after a partial line, or nothing when the status is left alone (not recording,
/// or paused): listening while there is text, waiting when the partial line is empty.
std::optional<QString> statusTextAfterPartial(const QString& partialText, bool isRecording,
                                              bool isPaused);

/// The state of the recording as the stream's reports see it.
struct StreamReportContext {
    bool isPaused = false;
    /// A recording is starting, running or resuming.
    bool isRecordingUnderWay = false;
};

/// What a `status` report of the stream does.
struct StreamStatusOutcome {
    enum class Action {
        showText,            ///< `text` becomes the status line
        showListeningStatus, ///< the listening status of the current mode
        endRecording,        ///< the server stopped the session: a remote stop
    };
    Action action = Action::showText;
    QString text;

    friend bool operator==(const StreamStatusOutcome&, const StreamStatusOutcome&) = default;
};

/// The server's state, matched exactly: the listening states, waiting for audio, reconnecting
/// and the retry with the safe model have their texts (paused forms while paused); "stopped"
/// ends a recording under way and otherwise shows that it stopped; any other state is shown as
/// it stands.
StreamStatusOutcome streamStatusOutcome(const QString& state, StreamReportContext context);

/// Whether an `error` report ends the recording: its message mentions, ignoring case, the lost
/// stream connection ("ws-yhteys katkesi", as the stream client words its giving up), the audio
/// sending ("äänen lähetys") or the audio capture ("äänen kaappaus"). Any other error only shows.
bool streamErrorEndsRecording(const QString& message);

/// The status after a frame went out, or nothing when it is left alone: only while recording,
/// not paused and before the first transcript line, on every 25th frame (2.5 s of 100 ms
/// frames), waiting for speech when the frame's level is below 0.005, else listening.
std::optional<QString> statusTextAfterOutgoingFrame(qint64 audioFramesSent, double level,
                                                    bool isRecording, bool isPaused,
                                                    bool hasSegments);

} // namespace vesnara
