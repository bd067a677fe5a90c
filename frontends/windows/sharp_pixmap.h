#pragma once

#include <QImage>
#include <QPixmap>
#include <QString>

#include <utility>

namespace vossel {

// An image in `side` points both ways on a screen of that scale; null for none.
[[nodiscard]] inline QPixmap sharpPixmap(QImage image, double side, double scale)
{
    image.setDevicePixelRatio(1);
    const int pixels = qRound(side * scale);
    if (image.isNull())
        return {};
    if (image.width() != pixels || image.height() != pixels)
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPixmap pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

// Loads one of the product's own images by its name. It is no QIcon, for Qt would keep the pixels
// of each one that a prompt makes.
[[nodiscard]] inline QPixmap resourcePixmap(const QString& name, double side, double scale)
{
    QString variant = ":/images/" + name;
    if (scale > 1)
        variant.insert(variant.lastIndexOf('.'), "@2x");
    return sharpPixmap(QImage(variant), side, scale);
}

}
