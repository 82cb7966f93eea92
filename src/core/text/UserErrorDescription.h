#pragma once

#include <QString>

#include <exception>

namespace vesnara {

/// The Finnish text the user sees for a failed step: a `UserFacingError`'s own description,
/// the invalid-response text for an answer that did not decode, and the catalogue's generic
/// text for anything else (whose English message goes to the log, never to the screen). A null
/// pointer gives the generic text too.
QString userErrorDescription(const std::exception_ptr& error);

} // namespace vesnara
