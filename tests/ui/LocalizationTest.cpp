#include "capture/Localization.h"

#include "ui/AppDelegate.h"
#include "ui/CustomView.h"
#include "ui/HelpPage.h"
#include "ui/SubViewController.h"
#include "ui/TranslateView.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDirIterator>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest>

namespace {

void UseLanguage(const char* language)
{
    QLocale::setDefault(QLocale(QString::fromLatin1(language)));
    Tolm::InstallTranslations();
}

} // namespace

class LocalizationTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { UseLanguage("en"); }

    void translatesFieldsInsideContainersButNotInsideFields()
    {
        Tolm::Ui::TranslateView(nullptr);
        QWidget panel;
        auto* box = new QGroupBox(&panel);
        auto* boxed = new QLabel(QStringLiteral("IDS_NODEVICE"), box);
        auto* field = new QLabel(QStringLiteral("IDS_TAB1_TITLE"), &panel);
        auto* inner = new QLabel(QStringLiteral("IDS_NODEVICE"), field);
        auto* plain = new QLabel(QStringLiteral("Side A"), &panel);
        auto* unknown = new QLabel(QStringLiteral("IDS_NOT_IN_THE_TABLE"), &panel);
        auto* edit = new QLineEdit(&panel);
        edit->setPlaceholderText(QStringLiteral("IDS_LABEL_ARTIST"));
        auto* check = new QCheckBox(QStringLiteral("IDS_TAB2_SPLIT"), box);

        Tolm::Ui::TranslateView(&panel);

        QVERIFY(boxed->text().contains(QStringLiteral("No record player")));
        QCOMPARE(boxed->textFormat(), Qt::RichText);
        QVERIFY(field->text().contains(QStringLiteral("Connect your record player")));
        QCOMPARE(inner->text(), QStringLiteral("IDS_NODEVICE"));
        QCOMPARE(plain->text(), QStringLiteral("Side A"));
        QCOMPARE(unknown->text(), QStringLiteral("IDS_NOT_IN_THE_TABLE"));
        QCOMPARE(edit->placeholderText(), QStringLiteral("Artist"));
        QCOMPARE(check->text(), QStringLiteral("Split into tracks at the quiet gaps"));
    }

    void everyKeyIsTranslatedInEveryLanguage()
    {
        // Every "IDS_" text of the panels' interface files: rich text.
        Tolm::Ui::SubViewController registerResources(QStringLiteral("Tolm_Tab1"), nullptr);
        QStringList panelKeys;
        static const QRegularExpression key(QStringLiteral("<string>(IDS_[A-Z0-9_]+)</string>"));
        for (QDirIterator files(QStringLiteral(":/panels"), {QStringLiteral("*.ui")}); files.hasNext();) {
            QFile file(files.next());
            file.open(QIODevice::ReadOnly);
            for (const auto& match : key.globalMatch(QString::fromUtf8(file.readAll())))
                panelKeys << match.captured(1);
        }
        QVERIFY(panelKeys.size() > 30);
        // The program's own: plain words where they become tags or button titles.
        const char* programKeys[] = {"IDS_WARNING",
                                     "IDS_NODEVICE",
                                     "IDS_TOOMANYDEVICES",
                                     "IDS_LASTTRACK",
                                     "IDS_LIMIT",
                                     "IDS_CANCEL_RECORDING",
                                     "IDS_YES",
                                     "IDS_NO",
                                     "IDS_CONTINUE",
                                     "IDS_ITUNES_ERROR",
                                     "IDS_UNKNOWN_TRACK",
                                     "IDS_UNKNOWN_ARTIST",
                                     "IDS_UNKNOWN_ALBUM",
                                     "IDS_TAB6_TITLE_NOT_ALL",
                                     "IDS_TAB6_ADDED",
                                     "IDS_TAB6_NOT_ADDED",
                                     "IDS_TAB6_KEPT",
                                     "IDS_TAB6_REPLACED",
                                     "IDS_BUTTON_OPEN_ALBUM"};
        for (const char* language : {"en", "de"}) {
            UseLanguage(language);
            for (const QString& key : panelKeys) {
                const QString text = Tolm::Localized(key);
                QVERIFY2(text != key, qPrintable(key + QLatin1Char(' ') + QLatin1String(language)));
                QVERIFY2(Qt::mightBeRichText(text), qPrintable(key));
            }
            for (const char* key : programKeys)
                QVERIFY2(Tolm::Localized(key) != QLatin1String(key), key);
            QVERIFY(!Qt::mightBeRichText(Tolm::Localized("IDS_UNKNOWN_ARTIST")));
            QVERIFY(!Qt::mightBeRichText(Tolm::Localized("IDS_YES")));
        }
        // Messages keyed by their English text.
        const char* fileProblem =
            "There was a problem creating the audio file. Your recording may not be successful.";
        QCOMPARE(Tolm::Localized(fileProblem).left(5), QStringLiteral("Beim "));
        UseLanguage("en");
        QCOMPARE(Tolm::Localized(fileProblem), QString::fromLatin1(fileProblem));
        QCOMPARE(Tolm::Localized("IDS_NEVER_DEFINED"), QStringLiteral("IDS_NEVER_DEFINED"));
        UseLanguage("fr");
        QCOMPARE(Tolm::Localized("IDS_UNKNOWN_ALBUM"), QStringLiteral("Unknown Album"));
    }

    void theHelpPageComesInTheUsersLanguageWithItsPictures()
    {
        QStandardPaths::setTestModeEnabled(true);
        for (const char* language : {"de", "en", "fr"}) {
            QLocale::setDefault(QLocale(QString::fromLatin1(language)));
            const QUrl url = Tolm::Ui::HelpPageUrl();
            QVERIFY(url.isLocalFile());
            QFile page(url.toLocalFile());
            QVERIFY2(page.open(QIODevice::ReadOnly), qPrintable(url.toLocalFile()));
            const bool german = QLatin1String(language) == QLatin1String("de");
            QVERIFY(QString::fromUtf8(page.readAll())
                        .contains(QLatin1String(german ? "lang=\"de\"" : "lang=\"en\"")));
            const QDir folder = QFileInfo(page).dir();
            QVERIFY(folder.exists(QStringLiteral("help.css")));
            QVERIFY(folder.exists(QStringLiteral("tolm-audio-converter.svg")));
        }
    }

    void alertsHaveOneOkButtonInEveryLanguage()
    {
        UseLanguage("de");
        QString buttons;
        QString message;
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            QVERIFY(box);
            QCOMPARE(box->icon(), QMessageBox::Warning);
            message = box->text() + QLatin1Char('|') + box->informativeText();
            for (QAbstractButton* button : box->buttons())
                buttons += button->text();
            box->buttons().first()->click();
        });
        Tolm::Ui::AppDelegate::alert(Tolm::Localized("IDS_WARNING"), Tolm::Localized("IDS_NODEVICE"));
        QCOMPARE(buttons, QStringLiteral("OK"));
        QVERIFY(message.startsWith(QStringLiteral("Achtung|")));
        QVERIFY(message.contains(QStringLiteral("kein Plattenspieler")));
    }
};

QTEST_MAIN(LocalizationTest)
#include "LocalizationTest.moc"
