#pragma once

#include <QUrl>

namespace Tolm::Ui {

// The help page in the user's language (English when there is none in it): the installed
// copy when there is one, else the copy built into the program, written out once to the
// cache folder so a browser can open it.
QUrl HelpPageUrl();

} // namespace Tolm::Ui
