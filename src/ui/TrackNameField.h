#pragma once

#include <QLineEdit>

namespace Tolm::Ui {

// A track's name field on the naming panels. It shows its track number inside its left
// edge, so that hiding the field hides the number with it. The number follows from the
// field's tag (tag 61 is track 1).
class TrackNameField : public QLineEdit {
    Q_OBJECT

public:
    explicit TrackNameField(QWidget* parent = nullptr);

    int trackNumber() const;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Tolm::Ui
