#include "auth/AuthRequestError.h"

#include "text/UiText.h"

namespace vesnara {

AuthRequestError::AuthRequestError(Kind kind, const QString& description)
    : UserFacingError(description.toStdString())
    , m_kind(kind)
    , m_description(description) {}

AuthRequestError AuthRequestError::server(const QString& message) {
    return AuthRequestError(Kind::server, message);
}

AuthRequestError AuthRequestError::invalidURL() {
    return AuthRequestError(Kind::invalidURL, UiText::authInvalidURL);
}

AuthRequestError AuthRequestError::offline() {
    return AuthRequestError(Kind::offline, UiText::authConnectionFailed);
}

} // namespace vesnara
