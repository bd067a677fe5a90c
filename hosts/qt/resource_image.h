#pragma once

#include <QPixmap>
#include <QString>

namespace vossel {

// One of the product's own images by its name, in `side` points both ways, sharp on every screen;
// null where there is none. Nothing is kept: an icon of Qt's would be, for each prompt anew.
[[nodiscard]] inline QPixmap resourceImage(const QString& name, double side, double scale)
{
    QString variant = ":/images/" + name;
    if (scale > 1)
        variant.insert(variant.lastIndexOf('.'), "@2x");
    QImage image(variant);
    image.setDevicePixelRatio(1);
    const int pixels = qRound(side * scale);
    if (image.isNull())
        return {};
    if (image.width() != pixels)
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPixmap pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

}
