#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// Which sources a recording captures. Not persisted: every launch starts with `microphone`.
enum class AudioInputMode { microphone, systemAudio, microphoneAndSystem };

const QList<AudioInputMode>& allAudioInputModes();
/// The mode's identifier ("microphone", "systemAudio", "microphoneAndSystem").
QString rawValue(AudioInputMode mode);
std::optional<AudioInputMode> audioInputModeFromRawValue(const QString& value);
QString label(AudioInputMode mode);
bool usesMicrophone(AudioInputMode mode);
bool usesSystemAudio(AudioInputMode mode);

} // namespace vesnara
