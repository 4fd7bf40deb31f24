#pragma once

#include <QString>

namespace Tolm::Ui {

// The wizard's application controller.
class AppDelegate {
public:
    // A modal warning with one "OK" button, the same in every language. Both texts are
    // shown as given (already localised by the caller).
    static void alert(const QString& title, const QString& text);
};

} // namespace Tolm::Ui
