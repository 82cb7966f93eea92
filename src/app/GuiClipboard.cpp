#include "GuiClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace vesnara {

std::optional<QString> GuiClipboard::text() const {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data || !data->hasText())
        return std::nullopt;
    return data->text();
}

void GuiClipboard::setText(const QString& text) {
    QGuiApplication::clipboard()->setText(text);
}

} // namespace vesnara
