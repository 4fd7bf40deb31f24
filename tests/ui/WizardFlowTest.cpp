// The wizard's way from panel to panel, driven through its buttons on virtual devices.

#include "WizardTestSupport.h"
#include "ui/FloatSlider.h"

#include <QDesktopServices>
#include <QLabel>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <sys/mount.h>

using namespace WizardTest;

namespace {

class UrlCatcher : public QObject {
    Q_OBJECT
  public:
    QList<QUrl> opened;
    Q_INVOKABLE void open(const QUrl& url) { opened << url; }
};

QString LabelText(const Wizard& wizard, unsigned panel, int tag)
{
    return qobject_cast<QLabel*>(wizard->panelView(panel)->viewWithTag(tag))->text();
}

} // namespace

class WizardFlowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QApplication::setQuitOnLastWindowClosed(false);
        Tolm::InstallTranslations();
    }

    void connectPanelWarnsWhenNoSingleDeviceIsFound_data()
    {
        QTest::addColumn<QList<int>>("usbDevices");
        QTest::addColumn<int>("extraInputs");
        QTest::addColumn<QString>("warning");
        QTest::newRow("nothing plugged in") << QList<int>{} << 0 << QStringLiteral("IDS_NODEVICE");
        QTest::newRow("on the bus, no input") << QList<int>{0} << -1 << QStringLiteral("IDS_NODEVICE");
        QTest::newRow("two known devices") << QList<int>{0, 1} << 0 << QStringLiteral("IDS_TOOMANYDEVICES");
        QTest::newRow("two inputs of that name")
            << QList<int>{0} << 1 << QStringLiteral("IDS_TOOMANYDEVICES");
    }

    void connectPanelWarnsWhenNoSingleDeviceIsFound()
    {
        QFETCH(QList<int>, usbDevices);
        QFETCH(int, extraInputs);
        QFETCH(QString, warning);
        Wizard wizard({});
        const Device known[] = {kCodec, kPlainTurntable};
        for (int index : usbDevices) {
            wizard.rig.bus->Add(known[index].vendor, known[index].product);
            if (extraInputs >= 0)
                wizard.rig.addInput(known[index].input);
        }
        for (int i = 0; i < extraInputs; ++i)
            wizard.rig.addInput(kCodec.input);

        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard.boxes.seen.size(), 1);
        QVERIFY(wizard.boxes.sawWarning(warning.toUtf8().constData()));
        QCOMPARE(wizard->selectedPanel(), 1u);
        QVERIFY(!wizard.playingThrough());

        // Put right, Next again goes on.
        wizard.rig.bus->Clear();
        wizard.rig.bus->Add(kPlainTurntable.vendor, kPlainTurntable.product);
        if (!(usbDevices.contains(1) && extraInputs >= 0))
            wizard.rig.addInput(kPlainTurntable.input);
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
    }

    void theDeviceDecidesWhatIsAsked_data()
    {
        QTest::addColumn<bool>("codec");             // else a turntable with its own preamplifier
        QTest::addColumn<QStringList>("answers");    // pressed on panels 11 and 12 before Next
        QTest::addColumn<QList<unsigned>>("panels"); // up to the level panel
        QTest::addColumn<QStringList>("equalisers"); // as the Audio controller logs them
        QTest::newRow("device that corrects itself")
            << false << QStringList{} << QList<unsigned>{1} << QStringList{"setNoFilter"};
        QTest::newRow("turntable") << true << QStringList{"selectDevicePlatina"} << QList<unsigned>{1, 11}
                                   << QStringList{"setRIAAFilter"};
        QTest::newRow("normal tape") << true << QStringList{"selectDeviceCassova", "normalTapeButton"}
                                     << QList<unsigned>{1, 11, 12}
                                     << QStringList{"setNoFilter", "setNoFilter"};
        QTest::newRow("chrome tape") << true << QStringList{"selectDeviceCassova", "chromeTapeButton"}
                                     << QList<unsigned>{1, 11, 12}
                                     << QStringList{"setNoFilter", "setChromeFilter"};
    }

    void theDeviceDecidesWhatIsAsked()
    {
        QFETCH(bool, codec);
        QFETCH(QStringList, answers);
        QFETCH(QList<unsigned>, panels);
        QFETCH(QStringList, equalisers);
        Wizard wizard({codec ? kCodec : kPlainTurntable});
        for (const QString& equaliser : equalisers)
            QTest::ignoreMessage(QtInfoMsg, qPrintable(QStringLiteral("-[Audio %1]").arg(equaliser)));
        for (qsizetype i = 0; i < panels.size(); ++i) {
            QCOMPARE(wizard->selectedPanel(), panels[i]);
            QVERIFY(!wizard.playingThrough());
            if (i > 0) {
                // Back leads to the question before, and Next from there comes here again.
                QVERIFY(wizard.press("backButton"));
                QCOMPARE(wizard->selectedPanel(), panels[i - 1]);
                QVERIFY(wizard.press("nextButton"));
                QCOMPARE(wizard->selectedPanel(), panels[i]);
                QVERIFY(wizard.press(qPrintable(answers[i - 1])));
            }
            QVERIFY(wizard.press("nextButton"));
        }
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.playingThrough());

        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 1u);
        QVERIFY(!wizard.playingThrough());
    }

    void recordShowsNewTrackOnlyWithoutAutomaticSplitting_data()
    {
        QTest::addColumn<bool>("split");
        QTest::newRow("split automatically") << true;
        QTest::newRow("split by hand") << false;
    }

    void recordShowsNewTrackOnlyWithoutAutomaticSplitting()
    {
        QFETCH(bool, split);
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.press("nextButton"));
        // The level panel hands the gain on rounded.
        wizard->panelView(2)->gainDbSlider()->setFloatValue(-3.04);
        QCOMPARE(wizard.audio().gainDb(), -3.0f);
        wizard.button(2, "automaticallySplitTracks")->setChecked(split);
        QVERIFY(wizard.press("nextButton"));

        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(wizard.playingThrough());
        QVERIFY(wizard.audio().recording());
        QCOMPARE(wizard.audio().automaticTrackSplit(), split);
        QCOMPARE(wizard.button(3, "splitTracksButton")->isVisible(), !split);
        QCOMPARE(LabelText(wizard, 3, 21), QStringLiteral("00:00:00"));
        QCOMPARE(LabelText(wizard, 3, 22), QStringLiteral("1"));
    }

    // Back asks before a recording is thrown away, and stops the recorder when it is; a
    // recording stopped by hand is named again with the names typed for it; Close asks only
    // when something would be lost.
    void backAndCloseLoseNothingUnasked()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.startRecording());
        wizard.audio().newTrack();
        const QString take = wizard.audio().fileNameForTrack(1);
        QVERIFY(QFile::exists(take));
        const QString question = Tolm::Localized("Discard the recording of %1 tracks?").arg(2);

        wizard.boxes.answer = Tolm::Localized("IDS_NO");
        QVERIFY(wizard.press("backButton"));
        QVERIFY(wizard.boxes.saw(question, QString()));
        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(wizard.audio().recording());

        wizard.boxes.answer = Tolm::Localized("IDS_YES");
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(!wizard.audio().recording());
        QVERIFY(!QFile::exists(take));
        QVERIFY(wizard.playingThrough());

        wizard.boxes.answer = Tolm::Localized("IDS_NO");
        QVERIFY(wizard.press("nextButton"));
        wizard.play(Wizard::kTrackSeconds);
        while (wizard.audio().numRecordedTracks() < 12) {
            wizard.audio().newTrack();
            wizard.play(Wizard::kTrackSeconds);
        }
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.acceptTracks());
        QTest::keyClicks(wizard.field(7, 61), QStringLiteral("Morning Train"));
        QVERIFY(wizard.press("nextButton"));
        QTest::keyClicks(wizard.field(8, 72), QStringLiteral("Lanterns"));
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(wizard.field(7, 61)->text(), QStringLiteral("Morning Train"));
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard.field(8, 72)->text(), QStringLiteral("Lanterns"));
        QVERIFY(wizard.press("backButton"));
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 13u);
        QVERIFY(wizard.press("backButton")); // "no" to discarding
        QCOMPARE(wizard->selectedPanel(), 13u);
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(wizard.field(7, 61)->text(), QStringLiteral("Morning Train"));

        QVERIFY(wizard.press("closeButton"));
        QVERIFY(wizard.boxes.saw(Tolm::Localized("IDS_CANCEL_RECORDING"), QString()));
        QVERIFY(wizard->window()->isVisible());
        wizard.boxes.answer = Tolm::Localized("IDS_YES");
        QVERIFY(wizard.press("backButton"));
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        // Nothing recorded: Close closes at once.
        wizard.boxes.seen.clear();
        QVERIFY(wizard.press("closeButton"));
        QVERIFY(wizard.boxes.seen.isEmpty());
        QVERIFY(!wizard->window()->isVisible());
    }

    // Little room warns before Record; a full disk stops the recording, says how many tracks
    // are kept and goes on to naming them.
    void aFullDiskStopsTheRecordingAndNamesWhatWasKept()
    {
        Wizard wizard({kPlainTurntable});
        const QByteArray where = QFile::encodeName(wizard.state.path());
        if (mount("tmpfs", where.constData(), "tmpfs", 0, "size=1m") != 0)
            QSKIP("a small disk needs a tmpfs mount, which this user may not make");
        const std::shared_ptr<void> unmount(nullptr, [&](void*) { umount2(where.constData(), MNT_DETACH); });
        QVERIFY(wizard.startRecording());
        QVERIFY(wizard.boxes.saw(Tolm::Localized("IDS_WARNING"),
                                 Tolm::Localized("Only about %1 minutes of recording fit on the disk that keeps the "
                                                 "recordings. Free some space first, or the recording may stop "
                                                 "before the side ends.")
                                     .arg(0)));
        wizard.rig.hardware->Pump(wizard.inputs.front(), 44100);
        QVERIFY(wizard.press("splitTracksButton"));
        QVERIFY(WaitFor([&] {
            wizard.rig.hardware->Pump(wizard.inputs.front(), 4096);
            return wizard->selectedPanel() == 13;
        }));
        QVERIFY(wizard.boxes.saw(
            Tolm::Localized("IDS_WARNING"),
            Tolm::Localized("The disk is full. Recording stopped; the %1 tracks recorded so far are kept.").arg(2)));
        QVERIFY(!wizard.audio().recording());
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard.usableNameFields(7), QStringLiteral("xx........"));
    }

    void newTrackWarnsBeforeTheLastTrackAndStopsAtTheLimit()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.startRecording());
        while (wizard.audio().numRecordedTracks() < 38)
            wizard.audio().newTrack();

        QVERIFY(wizard.press("splitTracksButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 39u);
        QCOMPARE(wizard.boxes.seen.size(), 0);

        QVERIFY(wizard.press("splitTracksButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 40u);
        QCOMPARE(wizard.boxes.seen.size(), 1);
        QVERIFY(wizard.boxes.sawWarning("IDS_LASTTRACK"));
        QVERIFY(wizard.audio().recording());
        QCOMPARE(LabelText(wizard, 3, 22), QStringLiteral("40"));

        QVERIFY(wizard.press("splitTracksButton"));
        QCOMPARE(wizard.boxes.seen.size(), 2);
        QVERIFY(wizard.boxes.sawWarning("IDS_LIMIT"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 40u);
        QVERIFY(!wizard.audio().recording());
        QCOMPARE(wizard->selectedPanel(), 13u);
        QVERIFY(!wizard.playingThrough());
    }

    void stopShowsANameFieldForEveryTrack_data()
    {
        QTest::addColumn<UInt32>("tracks");
        QTest::addColumn<QList<unsigned>>("panels"); // the naming panels, Next after Next
        QTest::addColumn<QStringList>("usable");     // their usable track name fields
        QTest::newRow("2 tracks") << 2u << QList<unsigned>{7} << QStringList{"xx........"};
        QTest::newRow("10 tracks") << 10u << QList<unsigned>{7} << QStringList{"xxxxxxxxxx"};
        QTest::newRow("11 tracks") << 11u << QList<unsigned>{7, 8} << QStringList{"xxxxxxxxxx", "x........."};
        QTest::newRow("40 tracks") << 40u << QList<unsigned>{7, 8, 9, 10}
                                   << QStringList{"xxxxxxxxxx", "xxxxxxxxxx", "xxxxxxxxxx", "xxxxxxxxxx"};
    }

    void stopShowsANameFieldForEveryTrack()
    {
        QFETCH(UInt32, tracks);
        QFETCH(QList<unsigned>, panels);
        QFETCH(QStringList, usable);
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.recordAndStop(tracks));
        for (qsizetype i = 0; i < panels.size(); ++i) {
            if (i > 0)
                QVERIFY(wizard.press("nextButton"));
            QCOMPARE(wizard->selectedPanel(), panels[i]);
            QVERIFY(!wizard.playingThrough());
            QCOMPARE(wizard.usableNameFields(panels[i]), usable[i]);
        }
        QVERIFY(!wizard->exporting());
    }

    void anotherRecordingShowsOnlyItsOwnFields()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.recordAndStop(3));
        QCOMPARE(wizard.usableNameFields(7), QStringLiteral("xxx......."));
        QTest::keyClicks(wizard.field(7, 61), QStringLiteral("Morning Train"));
        // Back through the check panel, thrown away, and recorded again with more tracks.
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 13u);
        wizard.boxes.answer = Tolm::Localized("IDS_YES");
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.press("nextButton"));
        wizard.play(Wizard::kTrackSeconds);
        while (wizard.audio().numRecordedTracks() < 6) {
            wizard.audio().newTrack();
            wizard.play(Wizard::kTrackSeconds);
        }
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard.usableNameFields(7), QStringLiteral("xxxxxx...."));
        QCOMPARE(wizard.field(7, 61)->text(), QString());
    }

    void singleTrackKeepsArtistAndAlbumButNotTheTrackName()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.recordAndStop(1));
        QCOMPARE(wizard->selectedPanel(), 4u);
        QTest::keyClicks(wizard.field(4, 10), QStringLiteral("Nina Berg"));
        QTest::keyClicks(wizard.field(4, 11), QStringLiteral("Attic"));
        QTest::keyClicks(wizard.field(4, 12), QStringLiteral("Paper Boats"));

        wizard.boxes.answer = Tolm::Localized("IDS_YES");
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 13u);
        QVERIFY(wizard.press("backButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.press("nextButton"));
        wizard.play(Wizard::kTrackSeconds);
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.acceptTracks());
        QCOMPARE(wizard->selectedPanel(), 4u);
        QCOMPARE(wizard.field(4, 10)->text(), QStringLiteral("Nina Berg"));
        QCOMPARE(wizard.field(4, 11)->text(), QStringLiteral("Attic"));
        QCOMPARE(wizard.field(4, 12)->text(), QString());
    }

    void returnGoesFromNameToNameAndThenToNext()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.recordAndStop(2));
        QVERIFY(QTest::qWaitForWindowActive(wizard->window()));
        QCOMPARE(QApplication::focusWidget(), wizard.field(7, 51));
        for (int tag : {52, 53, 54, 61, 62}) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            QCOMPARE(QApplication::focusWidget(), wizard.field(7, tag));
        }
        // Past the last track's field (63 to 70 are hidden) comes Next.
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), wizard.button(7, "nextButton"));
    }

    void albumEndWithoutATrackGoesBackToTheLevelPanel()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(wizard.press("nextButton"));
        QVERIFY(wizard.press("nextButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 1u);
        // The side ended during the first track: it held only the run-out.
        wizard.audio().albumEndDetectedOnMainThread();
        QCOMPARE(wizard.audio().numRecordedTracks(), 0u);
        QVERIFY(!wizard.audio().recording());
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(wizard.playingThrough());
    }

    void helpAndCloseAndAnInvalidPanel()
    {
        Wizard wizard({kPlainTurntable});
        wizard->setPanel(14);
        QVERIFY(
            wizard.boxes.saw(QStringLiteral("Internal error"), QStringLiteral("Switch to invalid panel")));
        QCOMPARE(wizard->selectedPanel(), 1u);

        UrlCatcher help;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &help, "open");
        QVERIFY(wizard.press("helpButton"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QCOMPARE(help.opened.size(), 1);
        QVERIFY(QFile::exists(help.opened.first().toLocalFile()));
        QVERIFY(help.opened.first().fileName().startsWith(QLatin1String("index.")));

        // The preferences open from the first panel, as a window of their own.
        QString opened;
        QTimer::singleShot(0, [&opened] {
            if (QWidget* dialog = QApplication::activeModalWidget()) {
                opened = dialog->objectName();
                dialog->close();
            }
        });
        QVERIFY(wizard.press("preferencesButton"));
        QCOMPARE(opened, QStringLiteral("preferences"));

    }

    void elapsedTimeIsRoundedToTheSecond()
    {
        const std::pair<double, const char*> cases[]{{0.0, "00:00:00"},    {59.4, "00:00:59"},
                                                     {59.6, "00:01:00"},   {3599.6, "01:00:00"},
                                                     {3600.0, "01:00:00"}, {360000.0, "100:00:00"}};
        for (const auto& [seconds, shown] : cases)
            QCOMPARE(Tolm::Ui::ElapsedTimeText(UInt64(seconds * 1e9)), QString::fromLatin1(shown));
    }
};

QTEST_MAIN(WizardFlowTest)
#include "WizardFlowTest.moc"
