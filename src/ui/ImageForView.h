#pragma once

#include <QImage>
#include <QString>

namespace Tolm::Ui {

// The background artwork of a wizard panel (1 to 12); none for any other number.
QString ImageNameForView(unsigned panel);
QImage ImageForView(unsigned panel);

} // namespace Tolm::Ui
