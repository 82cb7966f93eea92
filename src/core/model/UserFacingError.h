#pragma once

#include <QString>

#include <stdexcept>

namespace vesnara {

/// A failure whose words the user may see as they stand: `description()` is Finnish, from the
/// catalogue or the server's own text. `what()` is for the log and may be English.
///
/// It is a `std::runtime_error`, so every error built on it keeps a single `std::exception`
/// base and is still caught as the `runtime_error` it was before.
class UserFacingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    /// The Finnish text for the user.
    virtual QString description() const = 0;
};

} // namespace vesnara
