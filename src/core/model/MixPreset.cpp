#include "model/MixPreset.h"

#include "text/UiText.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct MixPresetInfo {
    QString rawValue;
    QString label;
    std::optional<MixSettings> settings;
};

const MixPresetInfo& infoOf(MixPreset preset) {
    static const std::array<MixPresetInfo, 4> table{{
        {u"meeting"_s, UiText::mixPresetMeeting, MixSettings{1.0, 1.0, true, 0.45, true}},
        {u"interview"_s, UiText::mixPresetInterview, MixSettings{1.15, 0.72, true, 0.65, true}},
        {u"webinar"_s, UiText::mixPresetWebinar, MixSettings{0.85, 1.2, false, 0.0, true}},
        {u"custom"_s, UiText::mixPresetCustom, std::nullopt},
    }};
    return table.at(static_cast<std::size_t>(preset));
}

constexpr double kGainTolerance = 0.03;
constexpr double kStrengthTolerance = 0.05;
// Absorbs the binary representation error of decimal settings such as 0.4 vs 0.45 ± 0.05,
// which are meant to sit exactly on the inclusive edge.
constexpr double kEdgeSlack = 1e-9;

bool within(double value, double target, double tolerance) {
    return std::abs(value - target) <= tolerance + kEdgeSlack;
}

} // namespace

double MixSettings::clampGain(double gain) {
    return std::clamp(gain, kMinGain, kMaxGain);
}

double MixSettings::clampDuckingStrength(double strength) {
    return std::clamp(strength, kMinDuckingStrength, kMaxDuckingStrength);
}

MixSettings MixSettings::clamped() const {
    MixSettings result = *this;
    result.micGain = clampGain(micGain);
    result.systemGain = clampGain(systemGain);
    result.duckingStrength = clampDuckingStrength(duckingStrength);
    return result;
}

const QList<MixPreset>& allMixPresets() {
    static const QList<MixPreset> presets{MixPreset::meeting, MixPreset::interview,
                                          MixPreset::webinar, MixPreset::custom};
    return presets;
}

const QList<MixPreset>& selectableMixPresets() {
    static const QList<MixPreset> presets{MixPreset::meeting, MixPreset::interview,
                                          MixPreset::webinar};
    return presets;
}

QString rawValue(MixPreset preset) {
    return infoOf(preset).rawValue;
}
QString label(MixPreset preset) {
    return infoOf(preset).label;
}
std::optional<MixSettings> settingsOf(MixPreset preset) {
    return infoOf(preset).settings;
}

std::optional<MixPreset> mixPresetFromRawValue(const QString& value) {
    for (const auto preset : allMixPresets()) {
        if (rawValue(preset) == value)
            return preset;
    }
    return std::nullopt;
}

MixPreset classifyMixPreset(const MixSettings& settings) {
    if (!settings.limiterEnabled)
        return MixPreset::custom;
    for (const auto preset : selectableMixPresets()) {
        const MixSettings target = *settingsOf(preset);
        if (within(settings.micGain, target.micGain, kGainTolerance) &&
            within(settings.systemGain, target.systemGain, kGainTolerance) &&
            within(settings.duckingStrength, target.duckingStrength, kStrengthTolerance) &&
            settings.autoDuckEnabled == target.autoDuckEnabled)
            return preset;
    }
    return MixPreset::custom;
}

} // namespace vesnara
