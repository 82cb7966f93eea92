#pragma once

#include "model/UserFacingError.h"

#include <QString>

namespace vesnara {

/// A failure that the speech backend client reports itself, with the Finnish text the user sees.
///
/// Transport failures (no route, time-out, cancellation) and JSON decoding errors are not among
/// them: they reach the caller as their own types, unchanged.
class APIClientError : public UserFacingError {
public:
    enum class Kind {
        /// The server refused the request; the description is its `error` text or the status.
        ServerError,
        /// The configured base URL cannot address the backend; nothing was sent.
        InvalidBaseURL,
        /// The answer was not an HTTP response, or not one the client can act on.
        InvalidResponse,
    };

    /// `message` is shown as it stands, even when empty.
    static APIClientError serverError(const QString& message);
    static APIClientError invalidBaseURL();
    static APIClientError invalidResponse();

    Kind kind() const { return m_kind; }
    /// The Finnish text for the user; `what()` holds the same text in UTF-8.
    QString description() const override { return m_description; }

private:
    APIClientError(Kind kind, const QString& description);

    Kind m_kind;
    QString m_description;
};

} // namespace vesnara
