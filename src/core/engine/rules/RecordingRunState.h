#pragma once

#include "model/Enumerations.h"

namespace vesnara {

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
