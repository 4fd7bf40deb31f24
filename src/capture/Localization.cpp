#include "capture/Localization.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QTranslator>

#include <memory>

// Resources of a static library are only registered when something asks for them.
static void InitTranslationResources() { Q_INIT_RESOURCE(tolm_translations); }

namespace Tolm {

namespace {

std::unique_ptr<QTranslator>& InstalledTranslator()
{
    static std::unique_ptr<QTranslator> translator;
    return translator;
}

// Panel texts are rich-text documents. A program without a GUI prints them, so it gets
// the words without the markup.
QString PlainText(QString text)
{
    static const QRegularExpression breaks(QStringLiteral("<br\\s*/?>|</p>|</li>"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression head(QStringLiteral("<head>.*</head>"),
                                         QRegularExpression::CaseInsensitiveOption |
                                             QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    static const QRegularExpression numeric(QStringLiteral("&#(\\d+);"));
    text.remove(head);
    text.replace(breaks, QStringLiteral("\n"));
    text.remove(tags);
    for (auto match = numeric.match(text); match.hasMatch(); match = numeric.match(text))
        text.replace(match.capturedStart(), match.capturedLength(), QChar(match.captured(1).toInt()));
    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text.trimmed();
}

bool HasGui()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app && app->inherits("QGuiApplication");
}

} // namespace

QString Localized(const char* key)
{
    QString text = QCoreApplication::translate("Tolm", key);
    if (!HasGui() && text.startsWith(QLatin1Char('<')))
        return PlainText(text);
    return text;
}

QString Localized(const QString& key) { return Localized(key.toUtf8().constData()); }

QString LocalizedCount(const char* one, const char* many, unsigned count)
{
    return count == 1 ? Localized(one) : Localized(many).arg(count);
}

void InstallTranslations()
{
    InitTranslationResources();
    auto& installed = InstalledTranslator();
    if (installed) {
        QCoreApplication::removeTranslator(installed.get());
        installed.reset();
    }
    // The default locale is the system's unless the program chose another (the panel
    // renderer does, once per language). English is the fallback: the keys are no text.
    auto translator = std::make_unique<QTranslator>();
    const QString folder = QStringLiteral(":/translations");
    if (!translator->load(QLocale(), QStringLiteral("tolm"), QStringLiteral("_"), folder) &&
        !translator->load(QStringLiteral("tolm_en"), folder))
        return;
    QCoreApplication::installTranslator(translator.get());
    installed = std::move(translator);
}

} // namespace Tolm
