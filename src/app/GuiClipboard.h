#pragma once

#include "platform/Clipboard.h"

namespace vesnara {

/// The desktop's clipboard through `QGuiApplication::clipboard()`.
class GuiClipboard final : public Clipboard {
public:
    std::optional<QString> text() const override;
    void setText(const QString& text) override;
};

} // namespace vesnara
