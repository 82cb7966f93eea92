#include "model/AudioInputMode.h"

#include "text/UiText.h"

#include <array>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct InputModeInfo {
    QString rawValue;
    QString label;
};

const InputModeInfo& infoOf(AudioInputMode mode) {
    static const std::array<InputModeInfo, 3> table{{
        {u"microphone"_s, UiText::inputModeMicrophone},
        {u"systemAudio"_s, UiText::inputModeSystemAudio},
        {u"microphoneAndSystem"_s, UiText::inputModeMicrophoneAndSystem},
    }};
    return table.at(static_cast<std::size_t>(mode));
}

} // namespace

const QList<AudioInputMode>& allAudioInputModes() {
    static const QList<AudioInputMode> modes{AudioInputMode::microphone,
                                             AudioInputMode::systemAudio,
                                             AudioInputMode::microphoneAndSystem};
    return modes;
}

QString rawValue(AudioInputMode mode) {
    return infoOf(mode).rawValue;
}
QString label(AudioInputMode mode) {
    return infoOf(mode).label;
}

std::optional<AudioInputMode> audioInputModeFromRawValue(const QString& value) {
    for (const auto mode : allAudioInputModes()) {
        if (rawValue(mode) == value)
            return mode;
    }
    return std::nullopt;
}

bool usesMicrophone(AudioInputMode mode) {
    return mode != AudioInputMode::systemAudio;
}
bool usesSystemAudio(AudioInputMode mode) {
    return mode != AudioInputMode::microphone;
}

} // namespace vesnara
