#include "engine/rules/EmptyResultDiagnosis.h"

#include "text/UiText.h"

namespace vesnara {

namespace {

constexpr qint64 kTooFewFrames = 10;
constexpr double kNearZeroAverage = 0.001;
constexpr double kNearZeroPeak = 0.02;
constexpr double kQuietAverage = 0.005;

QString nearZeroHint(AudioInputMode mode) {
    switch (mode) {
    case AudioInputMode::microphone:
        return UiText::hintEmptyResultSilentMicrophone;
    case AudioInputMode::systemAudio:
        return UiText::hintEmptyResultSilentSystemAudio;
    case AudioInputMode::microphoneAndSystem:
        return UiText::hintEmptyResultSilentMixed;
    }
    Q_UNREACHABLE();
    return UiText::hintEmptyResultSilentMicrophone;
}

} // namespace

QString emptyResultHint(const SentAudioFigures& figures, AudioInputMode mode) {
    if (figures.audioFrames < kTooFewFrames)
        return UiText::hintEmptyResultTooShort;
    if (figures.averageLevel < kNearZeroAverage && figures.peakLevel < kNearZeroPeak)
        return nearZeroHint(mode);
    if (figures.averageLevel < kQuietAverage)
        return UiText::hintEmptyResultQuiet;
    return UiText::hintEmptyResultNoText;
}

std::optional<QString> emptyResultHintAfterStop(qsizetype segmentCount,
                                                const SentAudioFigures& figures,
                                                AudioInputMode mode) {
    if (segmentCount > 0 || figures.audioFrames < 1)
        return std::nullopt;
    return emptyResultHint(figures, mode);
}

std::optional<QString> emptyResultHintAfterRemoteStop(qsizetype segmentCount,
                                                      const SessionMetaResponse& meta,
                                                      AudioInputMode mode) {
    return emptyResultHintAfterStop(segmentCount,
                                    {meta.audioFrameCount.value_or(0),
                                     meta.avgAudioLevel.value_or(0.0),
                                     meta.peakAudioLevel.value_or(0.0)},
                                    mode);
}

} // namespace vesnara
