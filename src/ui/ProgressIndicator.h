#pragma once

#include <QTimer>
#include <QWidget>

namespace Tolm::Ui {

// A small spinning wheel that says "busy" where no amount of work can be shown. Hidden while
// it is not spinning.
class ProgressIndicator : public QWidget {
    Q_OBJECT

  public:
    explicit ProgressIndicator(QWidget* parent = nullptr);

    bool isIndeterminate() const { return mIndeterminate; }
    void setIndeterminate(bool indeterminate);
    void startAnimation();
    void stopAnimation();
    bool isAnimating() const { return mTimer.isActive(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QTimer mTimer;
    int mStep = 0;
    bool mIndeterminate = true;
};

} // namespace Tolm::Ui
