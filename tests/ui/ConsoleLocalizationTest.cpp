#include "capture/Localization.h"

#include <QLocale>
#include <QtTest>

// tolm-convert prints the same texts the wizard shows; without a GUI they come as words.
class ConsoleLocalizationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void richTextComesAsPlainWords()
    {
        QLocale::setDefault(QLocale(QStringLiteral("de")));
        Tolm::InstallTranslations();
        const QString text = Tolm::Localized("IDS_NODEVICE");
        QVERIFY(!text.contains(QLatin1Char('<')));
        QVERIFY(text.startsWith(QStringLiteral("Es wurde kein Plattenspieler")));
        QVERIFY(text.contains(QStringLiteral("„Weiter“")));
        QCOMPARE(text.count(QLatin1Char('\n')), 1);
        QCOMPARE(Tolm::Localized("IDS_UNKNOWN_ARTIST"), QStringLiteral("Unbekannter Interpret"));
    }
};

QTEST_GUILESS_MAIN(ConsoleLocalizationTest)
#include "ConsoleLocalizationTest.moc"
