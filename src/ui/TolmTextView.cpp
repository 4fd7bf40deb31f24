#include "ui/TolmTextView.h"

namespace Tolm::Ui {

TolmTextView::TolmTextView(QWidget* parent) : QLabel(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAutoFillBackground(false);
    setFrameShape(QFrame::NoFrame);
    setAlignment(Qt::AlignCenter);
    setTextInteractionFlags(Qt::NoTextInteraction);
}

} // namespace Tolm::Ui
