#pragma once

#include <utility>

namespace vesnara {

/// Sets `field` to `value` and says whether that was a change, so a setter signals only real
/// changes: `if (assignIfChanged(m_x, x)) Q_EMIT xChanged();`.
template <typename T, typename U> bool assignIfChanged(T& field, U&& value) {
    if (field == value)
        return false;
    field = std::forward<U>(value);
    return true;
}

} // namespace vesnara
