#pragma once

#include <QImage>
#include <QWidget>

namespace Tolm::Ui {

// An illustration of a panel, drawn from the artwork by name. Clicks pass through to the
// panel, which drags the window.
class PictureView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)

public:
    explicit PictureView(QWidget* parent = nullptr);

    QString imageName() const { return mName; }
    void setImageName(const QString& name);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString mName;
    QImage mImage;
};

} // namespace Tolm::Ui
