#include "backend/APIClientError.h"

#include "text/UiText.h"

namespace vesnara {

APIClientError::APIClientError(Kind kind, const QString& description)
    : UserFacingError(description.toStdString())
    , m_kind(kind)
    , m_description(description) {}

APIClientError APIClientError::serverError(const QString& message) {
    return APIClientError(Kind::ServerError, message);
}

APIClientError APIClientError::invalidBaseURL() {
    return APIClientError(Kind::InvalidBaseURL, UiText::backendInvalidBaseURL);
}

APIClientError APIClientError::invalidResponse() {
    return APIClientError(Kind::InvalidResponse, UiText::backendInvalidResponse);
}

} // namespace vesnara
