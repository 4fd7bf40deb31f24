#pragma once

#include <QWidget>

namespace Tolm::Ui {

// Decibel marks beside a pair of level meters of the same height and position, so that a
// bar reads at a glance. The marks follow the meters' linear amplitude scale.
class MeterScaleView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool clipIndicator READ clipIndicator WRITE setClipIndicator)
    Q_PROPERTY(QColor markColor READ markColor WRITE setMarkColor)

public:
    explicit MeterScaleView(QWidget* parent = nullptr);

    bool clipIndicator() const { return mClipIndicator; }
    void setClipIndicator(bool clipIndicator);

    // The marks sit on the dark well around the meters, whatever the panel's text colour.
    QColor markColor() const { return mMarkColor; }
    void setMarkColor(const QColor& color);

    // Distance from the bottom edge of the meter to the top of a bar at this level.
    qreal heightForDb(double db) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool mClipIndicator = true;
    QColor mMarkColor{0xaa, 0xb3, 0xbf};
};

} // namespace Tolm::Ui
