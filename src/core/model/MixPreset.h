#pragma once

#include "model/Enumerations.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// The five mixer settings that presets set and classification reads.
struct MixSettings {
    double micGain = 1.0;
    double systemGain = 1.0;
    bool autoDuckEnabled = true;
    double duckingStrength = 0.55;
    bool limiterEnabled = true;

    static constexpr double kMinGain = 0.1;
    static constexpr double kMaxGain = 2.0;
    static constexpr double kMinDuckingStrength = 0.0;
    static constexpr double kMaxDuckingStrength = 0.9;

    static double clampGain(double gain);
    static double clampDuckingStrength(double strength);
    /// The same settings with both gains and the strength inside their bounds.
    MixSettings clamped() const;

    friend bool operator==(const MixSettings&, const MixSettings&) = default;
};

const QList<MixPreset>& allMixPresets();
/// The presets a picker offers: all but `custom`.
const QList<MixPreset>& selectableMixPresets();
QString rawValue(MixPreset preset);
std::optional<MixPreset> mixPresetFromRawValue(const QString& value);
QString label(MixPreset preset);
/// What applying the preset sets; nothing for `custom`, which changes nothing.
std::optional<MixSettings> settingsOf(MixPreset preset);
/// The first preset whose values the settings match within the tolerances, else `custom`.
MixPreset classifyMixPreset(const MixSettings& settings);

} // namespace vesnara
