#pragma once

#include <QString>

#include <exception>

namespace vesnara {

/// The Finnish text the user sees for a failed step: the error's own description for the
/// client, transport and capture errors, the invalid-response text for an answer that did not
/// decode, and the message of any other exception.
QString userErrorDescription(const std::exception_ptr& error);

} // namespace vesnara
