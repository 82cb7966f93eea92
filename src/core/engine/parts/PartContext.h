#pragma once

#include "engine/LocalPlaces.h"
#include "model/Timestamp.h"
#include "model/Timing.h"

#include <QString>

#include <functional>

namespace vesnara {

class AudioSources;
class Clipboard;
class DesktopServices;
class Dialogs;
class FilePanels;
class PermissionPanel;
class RecordingMeters;
class RecordingSettings;
class RunStatus;
class SessionHistory;
class StatusLine;
class STTAPIClient;

/// What the view model lends the parts that act on the transcript and on support requests:
/// the run's state, the other parts, the backend client and the platform's services. Everything
/// referenced outlives the parts; a service that is null counts as absent (nothing opens, every
/// panel and prompt is cancelled, the clipboard is empty).
struct PartContext {
    const RunStatus& run;
    StatusLine& status;
    RecordingSettings& settings;
    AudioSources& sources;
    PermissionPanel& permissions;
    RecordingMeters& meters;
    SessionHistory& history;
    const STTAPIClient& apiClient;
    const Timing& timing;
    const LocalPlaces& places;
    /// Now.
    const std::function<Timestamp()>& clock;
    const QString& applicationVersion;
    const QString& applicationBuild;
    Clipboard* clipboard = nullptr;
    Dialogs* dialogs = nullptr;
    FilePanels* filePanels = nullptr;
    DesktopServices* desktopServices = nullptr;
};

} // namespace vesnara
