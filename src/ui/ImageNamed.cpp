#include "ui/ImageNamed.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QScreen>
#include <QSvgRenderer>

#include <cmath>

static void InitUiResources() { Q_INIT_RESOURCE(tolm_ui_resources); }

namespace Tolm::Ui {

qreal ArtworkPixelRatio()
{
    qreal ratio = 1.0;
    for (const QScreen* screen : QGuiApplication::screens())
        ratio = std::max(ratio, screen->devicePixelRatio());
    return ratio;
}

QImage ImageNamed(const QString& name)
{
    static const bool resourcesReady = (InitUiResources(), true);
    (void)resourcesReady;
    static QHash<QString, QImage> cache;

    const qreal ratio = ArtworkPixelRatio();
    const QString cacheKey = name + QLatin1Char('@') + QString::number(ratio);
    if (auto found = cache.constFind(cacheKey); found != cache.constEnd())
        return *found;

    QImage image;
    const QString path = QStringLiteral(":/images/%1.svg").arg(name);
    if (QFile::exists(path)) {
        QSvgRenderer renderer(path);
        if (renderer.isValid()) {
            const QSize logical = renderer.defaultSize();
            image = QImage(QSize(int(std::ceil(logical.width() * ratio)), int(std::ceil(logical.height() * ratio))),
                           QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            renderer.render(&painter, QRectF(QPointF(0, 0), image.size()));
            painter.end();
            image.setDevicePixelRatio(ratio);
            image.setText(QStringLiteral("name"), name);
        }
    }
    cache.insert(cacheKey, image);
    return image;
}

} // namespace Tolm::Ui
