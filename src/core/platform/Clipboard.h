#pragma once

#include <QString>

#include <optional>

namespace vesnara {

/// The desktop's clipboard as the core needs it: plain text in and out. Implemented over
/// `QClipboard` in the application; tests use their own. Used on the main thread only.
class Clipboard {
public:
    virtual ~Clipboard() = default;
    /// The clipboard's plain text; nothing when it holds no text at all.
    virtual std::optional<QString> text() const = 0;
    virtual void setText(const QString& text) = 0;
};

} // namespace vesnara
