#include "engine/rules/RecordingRunState.h"

namespace vesnara {

RecordingRunFlags flagsOf(RecordingRunState state) {
    switch (state) {
    case RecordingRunState::idle:
    case RecordingRunState::finishing:
        return {};
    case RecordingRunState::starting:
        return {.isStartingRecording = true};
    case RecordingRunState::recording:
        return {.isRecording = true};
    case RecordingRunState::paused:
        return {.isRecording = true, .isPaused = true};
    case RecordingRunState::resuming:
        return {.isRecording = true, .isPaused = true, .isResumingRecording = true};
    }
    return {};
}

bool isLive(RecordingRunState state) {
    return state != RecordingRunState::idle && state != RecordingRunState::finishing;
}

} // namespace vesnara
