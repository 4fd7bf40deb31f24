#pragma once

#include <QWidget>

namespace Tolm::Ui {

// Decibel marks beside a pair of level meters of the same height and position, so that a
// bar reads at a glance. The marks follow the meters' linear amplitude scale.
class MeterScaleView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool clipIndicator READ clipIndicator WRITE setClipIndicator)

public:
    explicit MeterScaleView(QWidget* parent = nullptr);

    bool clipIndicator() const { return mClipIndicator; }
    void setClipIndicator(bool clipIndicator);

    // Distance from the bottom edge of the meter to the top of a bar at this level.
    qreal heightForDb(double db) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool mClipIndicator = true;
};

} // namespace Tolm::Ui
