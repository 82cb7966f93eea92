#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QSet>
#include <QString>

#include <chrono>
#include <deque>
#include <optional>

namespace vesnara::refbackend {

/// A failure to apply to the next matching HTTP request.
struct HttpFault {
    enum class Kind {
        respond, ///< answer with `status` and `body` instead of handling the request
        delay,   ///< wait `delay`, then handle the request normally
        drop,    ///< close the connection without any answer
    };
    Kind kind = Kind::respond;
    int status = 503;
    QByteArray body;
    std::chrono::milliseconds delay{0};
    /// Applies only to paths containing this text; empty matches every path.
    QString pathContains;
};

/// The faults a test (or the control route) has armed. Each armed HTTP fault is used up by one
/// matching request, in the order they were armed.
struct RefBackendFaults {
    std::deque<HttpFault> httpFaults;
    /// Paths that answer 404 until cleared (one of two candidate paths, say).
    QSet<QString> notFoundPaths;
    /// Stream connections to close right after they open.
    int streamConnectionsToRefuse = 0;
    /// Binary audio frames are received but neither counted nor recognised.
    bool ignoreBinaryFrames = false;
    /// The stream sends nothing at all to clients.
    bool silentStreams = false;
    /// New stream connections are closed as they open until this moment: with
    /// `RefBackend::cutStreams`, an outage of the stream while the REST side stays up.
    std::optional<std::chrono::steady_clock::time_point> streamsRefusedUntil;
    /// What `/health` answers instead of the real record (another backend's, say), until reset.
    std::optional<QJsonObject> healthAnswer;

    bool refusesStreamsNow() const {
        return streamsRefusedUntil && std::chrono::steady_clock::now() < *streamsRefusedUntil;
    }

    std::optional<HttpFault> takeFaultFor(const QString& path) {
        for (auto it = httpFaults.begin(); it != httpFaults.end(); ++it) {
            if (it->pathContains.isEmpty() || path.contains(it->pathContains)) {
                HttpFault fault = *it;
                httpFaults.erase(it);
                return fault;
            }
        }
        return std::nullopt;
    }
};

} // namespace vesnara::refbackend
