#pragma once

#include <QLineEdit>

namespace Tolm::Ui {

// A track's name field on the naming panels. It shows its track number inside its left
// edge, so that hiding the field hides the number with it. The number follows from the
// field's tag (tag 61 is track 1). It may show the track's length inside its right edge, so
// the user can tell the tracks apart while naming them.
class TrackNameField : public QLineEdit {
    Q_OBJECT

public:
    explicit TrackNameField(QWidget* parent = nullptr);

    int trackNumber() const;

    QString duration() const { return mDuration; }
    // "4:12"; empty shows none.
    void setDuration(const QString& duration);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString mDuration;
};

} // namespace Tolm::Ui
