#include "ui/ImageForView.h"

#include "base/SystemLog.h"
#include "ui/ImageNamed.h"

#include <cstdio>

namespace Tolm::Ui {

QString ImageNameForView(unsigned panel)
{
    switch (panel) {
    case 1:
    case 4:
    case 5:
    case 7:
    case 8:
    case 9:
    case 10:
    case 11:
    case 13:
        return QStringLiteral("dlg_PlainBackgroundWithButtons");
    case 2:
        return QStringLiteral("dlg_StartRecording");
    case 3:
        return QStringLiteral("dlg_Recording");
    case 6:
    case 12:
        return QStringLiteral("dlg_Question");
    default:
        return {};
    }
}

QImage ImageForView(unsigned panel)
{
    const QString name = ImageNameForView(panel);
    if (name.isEmpty()) {
        Tolm::SystemLog::Write("(_viewImage == NULL)\n");
        return {};
    }
    return ImageNamed(name);
}

} // namespace Tolm::Ui
