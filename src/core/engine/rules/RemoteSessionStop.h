#pragma once

#include <QString>

namespace vesnara {

// Why a recording ended because the server or the connection ended it rather than the user.
// The reason is written to the log and decides the status line.
namespace RemoteStopReason {
using namespace Qt::StringLiterals;
/// The stream reported an error that ends the recording.
inline const QString streamError = u"ws-error"_s;
/// The stream reported the state "stopped" while a recording was under way.
inline const QString streamStatusStopped = u"ws-status-stopped"_s;
/// A meta poll found the session ended.
inline const QString metaStopped = u"meta-stopped"_s;
/// The check before a resume found the session ended.
inline const QString resumeMetaStopped = u"resume-meta-stopped"_s;
/// The check before a resume found the stream down.
inline const QString resumeStreamInactive = u"resume-websocket-inactive"_s;
} // namespace RemoteStopReason

/// The status line after a remote stop: that the session closed during the pause when the
/// reason names a resume (case-sensitive, so a stream that was down at resume counts too),
/// otherwise that the connection was lost.
QString remoteStopStatusText(const QString& reason);

} // namespace vesnara
