// The preferences as the user sets them, and tolm-convert taking them as its defaults.

#include "capture/Localization.h"
#include "library/LibrarySettings.h"
#include "ui/PreferencesDialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using Tolm::Library::ImportFormat;
using Tolm::Library::LibrarySettings;
using Tolm::Ui::PreferencesDialog;

class PreferencesDialogTest : public QObject {
    Q_OBJECT

    QTemporaryDir mHome;

    QString path(const QString& name) const { return QDir(mHome.path()).filePath(name); }

    // Runs tolm-convert import with no library or format named: the settings decide.
    QString importWithSettings(const QStringList& more = {})
    {
        QProcess convert;
        convert.setWorkingDirectory(mHome.path());
        convert.start(QStringLiteral(TOLM_CONVERT),
                      QStringList{QStringLiteral("import"), QStringLiteral("--artist"), QStringLiteral("A"),
                                  QStringLiteral("--album"), QStringLiteral("B"), QStringLiteral("tone.wav")} +
                          more);
        if (!convert.waitForFinished(120'000) || convert.exitCode() != 0)
            qWarning() << convert.readAllStandardError();
        return QString::fromUtf8(convert.readAllStandardOutput()).trimmed();
    }

  private Q_SLOTS:
    void initTestCase()
    {
        // The settings file, for this program and for the tolm-convert it starts.
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(QStringLiteral("config"))));
        Tolm::InstallTranslations();
        QVERIFY(QProcess::execute(QStringLiteral("sox"), {QStringLiteral("-n"), QStringLiteral("-c"), QStringLiteral("2"),
                                                          QStringLiteral("-r"), QStringLiteral("44100"),
                                                          path(QStringLiteral("tone.wav")), QStringLiteral("synth"),
                                                          QStringLiteral("4"), QStringLiteral("pinknoise")}) == 0);
    }

    void eachLossyFormatKeepsItsQualityAndOkStoresAll()
    {
        PreferencesDialog dialog;
        auto* format = dialog.findChild<QComboBox*>(QStringLiteral("format"));
        auto* quality = dialog.findChild<QSlider*>(QStringLiteral("quality"));
        QCOMPARE(dialog.format(), ImportFormat::Flac);
        QVERIFY2(!quality->isEnabled(), "FLAC has no quality to choose");
        QCOMPARE(dialog.folder(), LibrarySettings::defaultFolder());

        dialog.setFormat(ImportFormat::OggVorbis);
        QVERIFY(quality->isEnabled());
        QCOMPARE(quality->value(), 6);
        quality->setValue(2);
        dialog.setFormat(ImportFormat::Opus);
        quality->setValue(9);
        dialog.setFormat(ImportFormat::OggVorbis);
        QCOMPARE(quality->value(), 2);
        QCOMPARE(format->currentText(), Tolm::Localized("IDS_FORMAT_OGG"));

        QVERIFY(QDir().mkpath(path(QStringLiteral("Library"))));
        dialog.findChild<QLineEdit*>(QStringLiteral("folder"))->setText(path(QStringLiteral("Library")));
        dialog.accept();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(LibrarySettings::folder(), path(QStringLiteral("Library")));
        QCOMPARE(LibrarySettings::format(), ImportFormat::OggVorbis);
        QCOMPARE(LibrarySettings::quality(ImportFormat::OggVorbis), 2);
        QCOMPARE(LibrarySettings::quality(ImportFormat::Opus), 9);

        // A new dialog shows what was stored.
        PreferencesDialog again;
        QCOMPARE(again.format(), ImportFormat::OggVorbis);
        QCOMPARE(again.quality(), 2);
        QCOMPARE(again.folder(), path(QStringLiteral("Library")));
    }

    void aMissingFolderIsStoredOnlyWhenTheUserSaysSo()
    {
        PreferencesDialog dialog;
        const QString before = LibrarySettings::folder();
        dialog.setFolder(path(QStringLiteral("unplugged/Music")));
        QString asked;
        auto answer = [&asked](QMessageBox::StandardButton button) {
            QTimer::singleShot(0, [&asked, button] {
                if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                    asked = box->text();
                    box->button(button)->click();
                }
            });
        };
        answer(QMessageBox::No);
        dialog.accept();
        QVERIFY(asked.contains(QStringLiteral("unplugged")));
        QCOMPARE(LibrarySettings::folder(), before);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));

        answer(QMessageBox::Yes);
        dialog.accept();
        QCOMPARE(LibrarySettings::folder(), path(QStringLiteral("unplugged/Music")));
        QVERIFY2(!QFileInfo::exists(path(QStringLiteral("unplugged"))), "a chosen folder is never made");
        LibrarySettings::setFolder(path(QStringLiteral("Library")));
    }

    void theCommandLineTakesTheChosenLibraryFormatAndQuality()
    {
        LibrarySettings::setFormat(ImportFormat::OggVorbis);
        LibrarySettings::setQuality(ImportFormat::OggVorbis, 0);
        const QString small = importWithSettings();
        QVERIFY2(small.startsWith(path(QStringLiteral("Library/A/B/"))), qPrintable(small));
        QVERIFY(small.endsWith(QStringLiteral(".ogg")));
        LibrarySettings::setQuality(ImportFormat::OggVorbis, 10);
        const QString large = importWithSettings();
        QVERIFY(large.endsWith(QStringLiteral(".ogg")));
        QVERIFY2(QFileInfo(large).size() > 2 * QFileInfo(small).size(),
                 qPrintable(QStringLiteral("%1 vs %2 bytes").arg(QFileInfo(large).size()).arg(QFileInfo(small).size())));
        // --quality is for one run and leaves the settings alone.
        const QString once = importWithSettings({QStringLiteral("--quality"), QStringLiteral("0")});
        QCOMPARE(QFileInfo(once).size(), QFileInfo(small).size());
        QCOMPARE(LibrarySettings::quality(ImportFormat::OggVorbis), 10);
    }
};

QTEST_MAIN(PreferencesDialogTest)
#include "PreferencesDialogTest.moc"
