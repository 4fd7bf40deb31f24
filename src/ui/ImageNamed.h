#pragma once

#include <QImage>
#include <QString>

namespace Tolm::Ui {

// The program's artwork by name ("dlg_Recording", "btn_NextAqua"): the SVG source of
// resources/images rendered with alpha at the screens' pixel ratio, cached. The image
// carries its name as the text "name". A name without artwork gives a null image.
QImage ImageNamed(const QString& name);

// The pixel ratio images are rendered at: the highest of the connected screens.
qreal ArtworkPixelRatio();

} // namespace Tolm::Ui
