#pragma once

#include "platform/PermissionProbe.h"

#include <QCoroTask>
#include <QString>

#include <memory>

namespace vesnara {

/// The newer record-permission interface's state as a word: "granted", "denied",
/// "undetermined" or "unknown". The text form may show the four-character code in decimal, its
/// letters or a word; all are recognised ("1735552628"/"grnt"/"grant", "1684369017"/"deny"/
/// "denied", "1970168948"/"undt"/"undetermined"), tried in that order.
QString recordPermissionLabel(const QString& recordPermissionText);

/// Either interface alone is enough: the record permission reads "granted", or the capture
/// device is authorized.
bool isMicrophonePermissionGranted(const MicrophonePermissionState& state);

/// Both interfaces say no: the record permission is "denied" or "unknown", and the capture
/// device is restricted or denied. A prompt cannot change this; only the system's settings can.
bool isCorePermissionEffectivelyDenied(const MicrophonePermissionState& state);

/// What the permission panel shows about the microphone, decided from the raw state alone.
struct MicrophonePermissionSnapshot {
    /// One line for the user.
    QString summaryText;
    /// "AVAudio=<label>, AVCapture=<label>, bundle=<identifier or ->, usageDesc=<ok|missing>".
    QString detailText;
    /// The microphone may be used.
    bool isGranted = false;
    /// A request button is offered.
    bool canRequestPrompt = false;
    /// The way forward is the system's settings.
    bool shouldOpenSystemSettings = false;

    /// The first row of the decision table that applies to `state`.
    static MicrophonePermissionSnapshot from(const MicrophonePermissionState& state);

    friend bool operator==(const MicrophonePermissionSnapshot&,
                           const MicrophonePermissionSnapshot&) = default;
};

/// Asks for the microphone in the fixed order: nothing when already granted or effectively
/// denied, never a prompt without a usage description, the newer interface first and the older
/// one only while it is still undecided. An outcome that stays inconclusive gives true: the
/// start of capture itself then tells. Every step is logged. `probe` is kept alive by the task.
QCoro::Task<bool> requestMicrophonePermission(std::shared_ptr<PermissionProbe> probe);

/// The status line after a request from the permission panel, given the request's result and
/// the snapshot taken after it.
QString microphonePermissionRequestStatusText(bool requestResult,
                                              const MicrophonePermissionSnapshot& snapshot);

} // namespace vesnara
