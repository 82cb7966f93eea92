#pragma once

#include <chrono>

namespace vesnara {

/// Every duration of the engine and the clients: limits, poll intervals, delays and back-offs.
/// Production uses the defaults; tests pass a scaled copy so that a 30-second limit is
/// exercised in a fraction of a second.
struct Timing {
    using Duration = std::chrono::milliseconds;

    // HTTP requests
    Duration httpRequestLimit{60'000};
    Duration memoRequestLimit{900'000};

    // The audio stream
    /// Shortest gap between two start messages while the server has not confirmed one.
    Duration streamStartRepeatInterval{800};
    /// First reconnect delay; each further try doubles it up to the maximum.
    Duration streamReconnectBaseDelay{400};
    Duration streamReconnectMaxDelay{4000};
    /// A connection whose WebSocket handshake has not completed by then counts as failed, so a
    /// handshake left hanging cannot hold the stream for good.
    /// Not scaled: a busy test machine may take longer than a scaled limit for a handshake.
    Duration streamHandshakeLimit{10'000};
    /// How much audio an outage may hold for the stream's return: an amount of audio, not a
    /// wait, so scaling leaves it alone.
    Duration audioSpoolCapacity{120'000};
    /// The time one second of held audio is given when it is sent after a reconnect: 250 ms is
    /// four times real time, so the server catches up without a burst.
    Duration audioSpoolPerAudioSecond{250};
    /// How long a reconnected stream must stand without confirming its start before the held
    /// audio goes anyway (a server that answers only audio).
    Duration audioSpoolDrainGrace{2000};

    // Audio capture
    /// Longest time system audio holds a partial chunk (of at least 20 ms) after its last chunk.
    Duration systemAudioMaxChunkLatency{180};

    // The recording engine
    /// A start that has not gone live by then gives up (and stops a session it created).
    Duration startRecordingLimit{30'000};
    /// A resume whose check has not finished by then returns to the pause.
    Duration resumeRecordingLimit{12'000};
    /// Pace of the keep-alive that sends silence while no real audio goes out.
    Duration audioKeepAliveInterval{900};
    /// How long the sources may stay dry before the keep-alive sends silence.
    Duration keepAliveSilenceAfter{1200};
    Duration transcriptPollInterval{2000};
    Duration sessionMetaPollInterval{2500};
    /// The wait after the stop message for the server's last lines.
    Duration stopFlushWait{1200};
    /// How long a started microphone may deliver nothing before it counts as dead.
    Duration microphoneLivenessDelay{4000};
    /// Refresh of the running pause label.
    Duration pauseTickerInterval{1000};
    /// How long a selected pin stays highlighted.
    Duration pinHighlightDuration{2500};
    /// How long the audio test listens to the sources.
    Duration audioTestDuration{5000};
    /// Pace of the local checkpoint of a recording's lines and pins.
    Duration recordingCheckpointInterval{10'000};
    /// What one minute of the auto-stop setting lasts.
    Duration autoStopMinute{60'000};
    /// How long the auto-stop notice counts down before it stops the recording.
    Duration autoStopCountdown{60'000};
    /// One step of that countdown: the notice's seconds move by one per tick.
    Duration autoStopCountdownTick{1000};

    // Permissions
    /// The wait between the probes after a system audio permission prompt: a grant takes a
    /// moment to reach the listing of shareable sources.
    Duration systemAudioPermissionProbeRetryDelay{350};

    /// The same timing with every duration multiplied by `factor` (at least 1 ms each).
    Timing scaled(double factor) const {
        const auto scale = [factor](Duration d) {
            const auto scaledCount =
                static_cast<Duration::rep>(static_cast<double>(d.count()) * factor);
            return Duration(scaledCount < 1 ? 1 : scaledCount);
        };
        Timing t = *this;
        t.httpRequestLimit = scale(httpRequestLimit);
        t.memoRequestLimit = scale(memoRequestLimit);
        t.streamStartRepeatInterval = scale(streamStartRepeatInterval);
        t.streamReconnectBaseDelay = scale(streamReconnectBaseDelay);
        t.streamReconnectMaxDelay = scale(streamReconnectMaxDelay);
        t.audioSpoolPerAudioSecond = scale(audioSpoolPerAudioSecond);
        t.audioSpoolDrainGrace = scale(audioSpoolDrainGrace);
        t.systemAudioMaxChunkLatency = scale(systemAudioMaxChunkLatency);
        t.startRecordingLimit = scale(startRecordingLimit);
        t.resumeRecordingLimit = scale(resumeRecordingLimit);
        t.audioKeepAliveInterval = scale(audioKeepAliveInterval);
        t.keepAliveSilenceAfter = scale(keepAliveSilenceAfter);
        t.transcriptPollInterval = scale(transcriptPollInterval);
        t.sessionMetaPollInterval = scale(sessionMetaPollInterval);
        t.stopFlushWait = scale(stopFlushWait);
        t.microphoneLivenessDelay = scale(microphoneLivenessDelay);
        t.pauseTickerInterval = scale(pauseTickerInterval);
        t.pinHighlightDuration = scale(pinHighlightDuration);
        t.audioTestDuration = scale(audioTestDuration);
        t.recordingCheckpointInterval = scale(recordingCheckpointInterval);
        t.autoStopMinute = scale(autoStopMinute);
        t.autoStopCountdown = scale(autoStopCountdown);
        t.autoStopCountdownTick = scale(autoStopCountdownTick);
        t.systemAudioPermissionProbeRetryDelay = scale(systemAudioPermissionProbeRetryDelay);
        return t;
    }
};

} // namespace vesnara
