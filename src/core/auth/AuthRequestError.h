#pragma once

#include "model/UserFacingError.h"

#include <QString>

namespace vesnara {

/// A failure of a request to the auth service, with the Finnish text the user sees.
///
/// `offline` means exactly that no HTTP answer came (a refused connection, a time-out, a bad
/// certificate): it is the one failure that lets a remembered session go on without a check.
class AuthRequestError : public UserFacingError {
public:
    enum class Kind {
        /// The service refused, or the answer or the input was not acceptable; the description
        /// is the service's own words or the operation's text.
        server,
        /// The configured address cannot be made into a request URL; nothing was sent.
        invalidURL,
        /// The service could not be reached.
        offline,
    };

    /// `message` is shown as it stands, even when empty.
    static AuthRequestError server(const QString& message);
    static AuthRequestError invalidURL();
    static AuthRequestError offline();

    Kind kind() const { return m_kind; }
    /// The Finnish text for the user; `what()` holds the same text in UTF-8.
    QString description() const override { return m_description; }

private:
    AuthRequestError(Kind kind, const QString& description);

    Kind m_kind;
    QString m_description;
};

} // namespace vesnara
