#pragma once

#include <QColor>
#include <QImage>

namespace Tolm::Ui {

// The pressed look of an image button without a pressed image: each pixel multiplied
// towards the colour, by the colour's alpha.
QImage DarkenedImageWithColor(const QImage& image, const QColor& color);

// The disabled look: the image in grey, washed towards the colour by its alpha.
QImage GrayImageWithColor(const QImage& image, const QColor& color);

} // namespace Tolm::Ui
