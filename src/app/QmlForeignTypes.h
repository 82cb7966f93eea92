#pragma once

// The core's types as QML sees them. The core has no QML dependency; these declarations register
// its classes from the application. The view model, `AuthManager` and the account sheets' forms
// are singletons whose instances are the application's own.

#include "auth/AuthManager.h"
#include "engine/StatusLine.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/models/InputDeviceListModel.h"
#include "engine/models/SavedSessionListModel.h"
#include "engine/models/SystemApplicationListModel.h"
#include "engine/models/SystemDisplayListModel.h"
#include "engine/models/TranscriptPinListModel.h"
#include "engine/models/TranscriptSegmentListModel.h"
#include "engine/parts/AudioSources.h"
#include "engine/parts/AutoStop.h"
#include "engine/parts/PermissionPanel.h"
#include "engine/parts/RecordingMeters.h"
#include "engine/parts/RecordingSettings.h"
#include "engine/parts/SessionHistory.h"
#include "engine/parts/SessionTranscript.h"
#include "engine/parts/SupportTools.h"
#include "forms/AdminUsersModel.h"
#include "forms/AdminUsersPanel.h"
#include "forms/ChangePasswordForm.h"
#include "forms/ConnectionSettingsForm.h"
#include "forms/PasswordResetForm.h"
#include "model/Enumerations.h"
// Keyboard shortcuts
#include "Shortcuts.h"

#include <QQmlEngine>

namespace vesnara::qml {

struct ViewModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::TranscriptionViewModel)
    QML_NAMED_ELEMENT(ViewModel)
    QML_SINGLETON

public:
    static TranscriptionViewModel* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

struct AuthManagerForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::AuthManager)
    QML_NAMED_ELEMENT(AuthManager)
    QML_SINGLETON

public:
    static AuthManager* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

struct PasswordResetFormForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::PasswordResetForm)
    QML_NAMED_ELEMENT(PasswordResetForm)
    QML_SINGLETON

public:
    static PasswordResetForm* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

struct ChangePasswordFormForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::ChangePasswordForm)
    QML_NAMED_ELEMENT(ChangePasswordForm)
    QML_SINGLETON

public:
    static ChangePasswordForm* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

// The settings card's user administration panel and connection settings.
struct AdminUsersPanelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::AdminUsersPanel)
    QML_NAMED_ELEMENT(AdminUsersPanel)
    QML_SINGLETON

public:
    static AdminUsersPanel* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

struct ConnectionSettingsFormForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::ConnectionSettingsForm)
    QML_NAMED_ELEMENT(ConnectionSettingsForm)
    QML_SINGLETON

public:
    static ConnectionSettingsForm* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

// Keyboard shortcuts
struct ShortcutsForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::Shortcuts)
    QML_NAMED_ELEMENT(Shortcuts)
    QML_SINGLETON

public:
    static Shortcuts* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

struct AdminUsersModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::AdminUsersModel)
    QML_NAMED_ELEMENT(AdminUsersModel)
    QML_UNCREATABLE("owned by the user administration panel")
};

struct StatusLineForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::StatusLine)
    QML_NAMED_ELEMENT(StatusLine)
    QML_UNCREATABLE("owned by the view model")
};
struct RecordingSettingsForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::RecordingSettings)
    QML_NAMED_ELEMENT(RecordingSettings)
    QML_UNCREATABLE("owned by the view model")
};
struct AudioSourcesForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::AudioSources)
    QML_NAMED_ELEMENT(AudioSources)
    QML_UNCREATABLE("owned by the view model")
};
struct PermissionPanelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::PermissionPanel)
    QML_NAMED_ELEMENT(PermissionPanel)
    QML_UNCREATABLE("owned by the view model")
};
struct SessionTranscriptForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SessionTranscript)
    QML_NAMED_ELEMENT(SessionTranscript)
    QML_UNCREATABLE("owned by the view model")
};
struct SessionHistoryForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SessionHistory)
    QML_NAMED_ELEMENT(SessionHistory)
    QML_UNCREATABLE("owned by the view model")
};
struct SupportToolsForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SupportTools)
    QML_NAMED_ELEMENT(SupportTools)
    QML_UNCREATABLE("owned by the view model")
};
struct RecordingMetersForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::RecordingMeters)
    QML_NAMED_ELEMENT(RecordingMeters)
    QML_UNCREATABLE("owned by the view model")
};
// Recording safety
struct AutoStopForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::AutoStop)
    QML_NAMED_ELEMENT(AutoStop)
    QML_UNCREATABLE("owned by the view model")
};
struct TranscriptSegmentListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::TranscriptSegmentListModel)
    QML_NAMED_ELEMENT(TranscriptSegmentListModel)
    QML_UNCREATABLE("owned by the view model")
};
struct TranscriptPinListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::TranscriptPinListModel)
    QML_NAMED_ELEMENT(TranscriptPinListModel)
    QML_UNCREATABLE("owned by the view model")
};
struct SavedSessionListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SavedSessionListModel)
    QML_NAMED_ELEMENT(SavedSessionListModel)
    QML_UNCREATABLE("owned by the view model")
};
struct InputDeviceListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::InputDeviceListModel)
    QML_NAMED_ELEMENT(InputDeviceListModel)
    QML_UNCREATABLE("owned by the view model")
};
struct SystemDisplayListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SystemDisplayListModel)
    QML_NAMED_ELEMENT(SystemDisplayListModel)
    QML_UNCREATABLE("owned by the view model")
};
struct SystemApplicationListModelForeign {
    Q_GADGET
    QML_FOREIGN(vesnara::SystemApplicationListModel)
    QML_NAMED_ELEMENT(SystemApplicationListModel)
    QML_UNCREATABLE("owned by the view model")
};

namespace enums {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(vesnara)
QML_NAMED_ELEMENT(Enums)
} // namespace enums

} // namespace vesnara::qml
