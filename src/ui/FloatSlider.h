#pragma once

#include <QSlider>

namespace Tolm::Ui {

// A slider over a range of real numbers (the recording gain in dB), kept in thousandths
// so that values between the tenths the program rounds to are reachable.
class FloatSlider : public QSlider {
    Q_OBJECT
    Q_PROPERTY(double floatMinimum READ floatMinimum WRITE setFloatMinimum)
    Q_PROPERTY(double floatMaximum READ floatMaximum WRITE setFloatMaximum)
    Q_PROPERTY(double floatValue READ floatValue WRITE setFloatValue)

public:
    static constexpr int kStepsPerUnit = 1000;

    explicit FloatSlider(QWidget* parent = nullptr);

    double floatMinimum() const { return double(minimum()) / kStepsPerUnit; }
    double floatMaximum() const { return double(maximum()) / kStepsPerUnit; }
    float floatValue() const { return float(value()) / kStepsPerUnit; }
    void setFloatMinimum(double minimum);
    void setFloatMaximum(double maximum);
    void setFloatValue(double value);
};

} // namespace Tolm::Ui
