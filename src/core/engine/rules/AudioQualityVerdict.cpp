#include "engine/rules/AudioQualityVerdict.h"

#include "text/UiText.h"

#include <algorithm>

namespace vesnara {

namespace {

void addFrame(AudioTestFigures& figures, double level) {
    ++figures.totalFrames;
    figures.levelSum += level;
    figures.peakLevel = std::max(figures.peakLevel, level);
}

QString threeDecimals(double value) {
    return QString::number(value, 'f', 3);
}

} // namespace

void AudioTestFigures::addMicrophoneFrame(double level) {
    addFrame(*this, level);
    ++microphoneFrames;
}

void AudioTestFigures::addSystemFrame(double level) {
    addFrame(*this, level);
    ++systemFrames;
}

double AudioTestFigures::averageLevel() const {
    return totalFrames == 0 ? 0.0 : levelSum / static_cast<double>(totalFrames);
}

QString audioTestStatusText(const AudioTestFigures& figures) {
    if (figures.totalFrames == 0)
        return UiText::audioTestNoAudio;
    if (figures.peakLevel < kAudioTestQuietPeak)
        return UiText::audioTestVeryQuiet;
    return UiText::audioTestLevelOk;
}

QString audioTestRecommendation(AudioInputMode mode, const AudioTestFigures& figures) {
    if (figures.totalFrames == 0) {
        switch (mode) {
        case AudioInputMode::microphone:
            return UiText::audioTestAdviceNoMicrophone;
        case AudioInputMode::systemAudio:
            return UiText::audioTestAdviceNoSystemAudio;
        case AudioInputMode::microphoneAndSystem:
            return UiText::audioTestAdviceNoMixedAudio;
        }
    }
    if (figures.peakLevel < kAudioTestQuietPeak)
        return UiText::audioTestAdviceRaiseLevel;
    if (mode == AudioInputMode::microphoneAndSystem && figures.microphoneFrames == 0)
        return UiText::audioTestAdviceMixedMicrophoneSilent;
    if (mode == AudioInputMode::microphoneAndSystem && figures.systemFrames == 0)
        return UiText::audioTestAdviceMixedSystemSilent;
    return UiText::audioTestAdviceSourceWorks;
}

QString audioTestDiagnosticHint(AudioInputMode mode, const AudioTestFigures& figures) {
    return UiText::audioTestSummary(figures.totalFrames, figures.microphoneFrames,
                                    figures.systemFrames, threeDecimals(figures.averageLevel()),
                                    threeDecimals(figures.peakLevel),
                                    audioTestRecommendation(mode, figures));
}

} // namespace vesnara
