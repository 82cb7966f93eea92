#pragma once

#include "model/AudioInputMode.h"

#include <QString>

namespace vesnara {

// The verdict of the audio test: what the sources delivered in its few seconds, told as a status
// line and a line of figures with advice.

/// Below this peak the sound counts as too quiet to transcribe; one loud frame is enough.
inline constexpr double kAudioTestQuietPeak = 0.004;

/// What one run of the audio test counted. Touched on the main thread only.
struct AudioTestFigures {
    qint64 totalFrames = 0;
    qint64 microphoneFrames = 0;
    qint64 systemFrames = 0;
    double levelSum = 0.0;
    double peakLevel = 0.0;

    void addMicrophoneFrame(double level);
    void addSystemFrame(double level);
    /// The mean level, 0.0 without frames.
    double averageLevel() const;
};

/// "…Ei havaittua audiodataa" without frames, "…hyvin hiljainen" below the quiet peak, else
/// "…taso ok".
QString audioTestStatusText(const AudioTestFigures& figures);

/// The first advice that applies: no frames (worded by the mode), too quiet, one source of a mixed
/// test silent (the microphone first), otherwise that the source works.
QString audioTestRecommendation(AudioInputMode mode, const AudioTestFigures& figures);

/// "Äänitesti: frameja …, mic …, systeemi …, avg 0.000, huippu 0.000. Suositus: …".
QString audioTestDiagnosticHint(AudioInputMode mode, const AudioTestFigures& figures);

} // namespace vesnara
