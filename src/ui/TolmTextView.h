#pragma once

#include <QLabel>

namespace Tolm::Ui {

// A caption laid over an image button or a panel: never takes a click, so clicks reach the
// button under it and drags on a panel's text move the window.
class TolmTextView : public QLabel {
    Q_OBJECT

public:
    explicit TolmTextView(QWidget* parent = nullptr);
};

} // namespace Tolm::Ui
