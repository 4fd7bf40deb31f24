#include "ui/FloatSlider.h"

#include <cmath>

namespace Tolm::Ui {

FloatSlider::FloatSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent)
{
    // Arrow keys move by a tenth of a unit, page keys by one.
    setSingleStep(kStepsPerUnit / 10);
    setPageStep(kStepsPerUnit);
}

void FloatSlider::setFloatMinimum(double minimum) { setMinimum(int(std::lround(minimum * kStepsPerUnit))); }

void FloatSlider::setFloatMaximum(double maximum) { setMaximum(int(std::lround(maximum * kStepsPerUnit))); }

void FloatSlider::setFloatValue(double value) { setValue(int(std::lround(value * kStepsPerUnit))); }

} // namespace Tolm::Ui
