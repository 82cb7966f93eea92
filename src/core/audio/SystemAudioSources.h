#pragma once

#include "audio/AudioSourceOptions.h"
#include "platform/SystemAudioBackend.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// This program as the sound server lists it, so that it is never offered or captured.
struct OwnApplication {
    /// Compared exactly with an application's bundle identifier; empty matches nothing.
    QString bundleIdentifier;
    /// Compared with an application's process ids; 0 matches nothing.
    qint64 processId = 0;
};

/// `applications` without this program, in their order.
QList<SystemAudioApplication>
withoutOwnApplication(const QList<SystemAudioApplication>& applications, const OwnApplication& own);

/// The picker entries of the outputs, in the backend's order, named by
/// `UiText::systemDisplayOptionName`.
QList<SystemAudioDisplayOption> displaySourceOptions(const QList<SystemAudioDisplay>& displays);

/// One picker entry per bundle identifier (an application with several processes or streams gives
/// one), leaving out an empty identifier. An entry is named after the first of its applications by
/// locale-aware case-insensitive name order, trimmed, or by the identifier when that is blank. The
/// entries are sorted by name the same way; equal names keep the order of first appearance.
QList<SystemAudioApplicationOption>
applicationSourceOptions(const QList<SystemAudioApplication>& applications);

/// What a system audio capture will run on.
struct SystemAudioSelection {
    SystemAudioDisplay display;
    /// The applications the capture covers: all but this program, or only the preferred one (its
    /// first entry, however many streams it plays).
    QList<SystemAudioApplication> applications;
    /// What the backend is asked to capture. Only a preferred application that is running narrows
    /// it to that application; otherwise it is everything the output plays.
    SystemAudioCaptureTarget target;

    /// The application's name when the selection covers exactly one, else "Kaikki sovellukset".
    QString applicationName() const;
};

/// Chooses the source of a capture from what can be captured now: the preferred display if listed,
/// else the first; all applications but this program, narrowed to the preferred bundle identifier
/// (trimmed; blank means none) when exactly that one is running. Nothing when there is no display.
std::optional<SystemAudioSelection> selectSystemAudioSource(
    const SystemAudioContent& content, std::optional<quint32> preferredDisplayId,
    const std::optional<QString>& preferredBundleIdentifier, const OwnApplication& own);

} // namespace vesnara
