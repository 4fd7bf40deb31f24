#pragma once

class QWidget;

namespace Tolm::Ui {

// Localises a panel in place: every text field (label or line edit) whose text is an
// "IDS_" key shows the key's rich text instead; containers are searched, text fields are
// not. A key whose text is not rich text leaves the field as it was.
void TranslateView(QWidget* view);

} // namespace Tolm::Ui
