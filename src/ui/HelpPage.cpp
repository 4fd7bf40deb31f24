#include "ui/HelpPage.h"

#include "ui/ImageNamed.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLocale>
#include <QStandardPaths>

namespace Tolm::Ui {

namespace {

QString PageName()
{
    for (const QString& language : QLocale().uiLanguages()) {
        const QString code = language.left(2).toLower();
        if (QFile::exists(QStringLiteral(":/help/index.%1.html").arg(code)))
            return QStringLiteral("index.%1.html").arg(code);
    }
    return QStringLiteral("index.en.html");
}

// Copies the built-in help folder out, so the page's pictures and style sheet come along.
QString ExtractedHelpFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
                           QStringLiteral("/help-") + QCoreApplication::applicationVersion();
    QDir().mkpath(folder);
    QDirIterator files(QStringLiteral(":/help"), QDir::Files);
    while (files.hasNext()) {
        const QString source = files.next();
        const QString target = folder + QLatin1Char('/') + files.fileName();
        QFile::remove(target);
        if (QFile::copy(source, target))
            QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    return folder;
}

} // namespace

QUrl HelpPageUrl()
{
    ImageNamed(QString()); // registers the built-in resources
    const QString page = PageName();
    const QString installed = QCoreApplication::applicationDirPath() +
                              QStringLiteral("/../share/tolm-audio-converter/help/") + page;
    if (QFile::exists(installed))
        return QUrl::fromLocalFile(QDir::cleanPath(installed));
    return QUrl::fromLocalFile(ExtractedHelpFolder() + QLatin1Char('/') + page);
}

} // namespace Tolm::Ui
