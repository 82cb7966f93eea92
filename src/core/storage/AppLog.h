#pragma once

#include <QString>
#include <QUrl>

namespace vesnara {

/// The application's one diagnostics log: a UTF-8 text file that grows by one line per record,
/// "<seconds since 1970> <message>\n". All file work happens on a writer thread of its own, in
/// the order of the calls, so no caller ever waits for the disk.
///
/// Messages are English key=value text ("stopRecording session=<id>"); what the user must see
/// goes to the screen, never here. Never log a password, token or key.
class AppLog {
public:
    AppLog() = delete;

    /// Queues the line and returns at once; callable from any thread, never fails. A line that
    /// cannot be written is lost without a report: logging must never disturb a recording.
    static void write(const QString& message);

    /// The file's content after every write queued before this call; the whole file when it has
    /// at most `maxBytes` bytes (strict UTF-8: damaged bytes give ""), else its last `maxBytes`
    /// bytes with undecodable bytes replaced (the first line is usually cut). "" for a missing
    /// or empty file.
    static QString snapshot(qint64 maxBytes);

    /// The file's location, whether or not it exists yet.
    static QUrl currentLogURL();

    /// `UserDirectories::logFile()`: `$XDG_STATE_HOME/vesnara/desktop.log`.
    static QString defaultLogPath();

    /// Sends the lines written after this call to `filePath` (tests, a portable run). Ordered
    /// with the writes: lines queued before it still go to the previous file.
    static void setLogFilePath(const QString& filePath);
};

} // namespace vesnara
