#include "capture/Localization.h"

#include <QCoreApplication>

namespace Tolm {

QString Localized(const char* key) { return QCoreApplication::translate("Tolm", key); }

QString Localized(const QString& key) { return Localized(key.toUtf8().constData()); }

void InstallTranslations()
{
    // Filled in with the translation files of resources/translations.
}

} // namespace Tolm
