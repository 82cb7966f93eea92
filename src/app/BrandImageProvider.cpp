#include "BrandImageProvider.h"

using namespace Qt::StringLiterals;

namespace vesnara {

BrandImageProvider::BrandImageProvider(QString logoPath)
    : QQuickImageProvider(QQuickImageProvider::Image)
    , m_logoPath(std::move(logoPath)) {}

QImage BrandImageProvider::requestImage(const QString& id, QSize* size,
                                        const QSize& requestedSize) {
    QImage image(m_logoPath);
    if (!image.isNull() && id == u"logo-inverted"_s)
        image.invertPixels(QImage::InvertRgb);
    if (!image.isNull() && requestedSize.isValid())
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (size)
        *size = image.size();
    return image;
}

} // namespace vesnara
