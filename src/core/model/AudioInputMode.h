#pragma once

#include "model/Enumerations.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

const QList<AudioInputMode>& allAudioInputModes();
/// The mode's identifier ("microphone", "systemAudio", "microphoneAndSystem").
QString rawValue(AudioInputMode mode);
std::optional<AudioInputMode> audioInputModeFromRawValue(const QString& value);
QString label(AudioInputMode mode);
bool usesMicrophone(AudioInputMode mode);
bool usesSystemAudio(AudioInputMode mode);

} // namespace vesnara
