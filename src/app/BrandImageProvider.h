#pragma once

#include <QQuickImageProvider>

namespace vesnara {

/// Serves the brand logo to QML as `image://brand/logo` and, for dark windows, with its colours
/// inverted as `image://brand/logo-inverted`, so the black logo reads on a dark background.
class BrandImageProvider final : public QQuickImageProvider {
public:
    static inline const QString providerId = QStringLiteral("brand");

    explicit BrandImageProvider(QString logoPath);

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

private:
    QString m_logoPath;
};

} // namespace vesnara
