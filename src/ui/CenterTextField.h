#pragma once

class QWidget;

namespace Tolm::Ui {

// Shrinks a text field to its content and keeps it centred where it was.
void CenterTextField(QWidget* field);

} // namespace Tolm::Ui
