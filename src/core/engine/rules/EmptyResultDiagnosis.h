#pragma once

#include "backend/SessionMetaResponse.h"
#include "model/AudioInputMode.h"

#include <QString>

#include <optional>

namespace vesnara {

// Why a recording that sent audio gave no text, told to the user in plain words.

/// What was sent during a recording: frames, and their mean and highest level (0.0 to 1.0).
struct SentAudioFigures {
    qint64 audioFrames = 0;
    double averageLevel = 0.0;
    double peakLevel = 0.0;
};

/// The hint for sent audio that gave no text, first matching row: very few frames (below 10);
/// near-zero sound (average below 0.001 and peak below 0.02), worded by the mode's sources; very
/// quiet sound (average below 0.005); otherwise that the recogniser returned nothing.
QString emptyResultHint(const SentAudioFigures& figures, AudioInputMode mode);

/// The hint after a stop, or nothing: only when the transcript has no segments and at least one
/// frame was sent. With no frames at all nothing is said.
std::optional<QString> emptyResultHintAfterStop(qsizetype segmentCount,
                                                const SentAudioFigures& figures,
                                                AudioInputMode mode);

/// The hint after the server ended a session, by the server's own figures, or nothing: only
/// when the transcript has no segments and the meta counts at least one frame. An absent level
/// counts as 0.
std::optional<QString> emptyResultHintAfterRemoteStop(qsizetype segmentCount,
                                                      const SessionMetaResponse& meta,
                                                      AudioInputMode mode);

} // namespace vesnara
