// The wizard's way from panel to panel, driven through its buttons on virtual devices.

#include "WizardTestSupport.h"
#include "ui/FloatSlider.h"

#include <QDesktopServices>
#include <QLabel>
#include <QStandardPaths>
#include <QUrl>

using namespace WizardTest;

namespace {

// The wizard with its devices plugged in and its window shown.
struct Wizard {
    explicit Wizard(std::initializer_list<Device> devices)
    {
        RemoveTrackFiles();
        for (const Device& device : devices)
            rig.plug(device);
        app = std::make_unique<AppDelegate>();
        app->window()->show();
    }
    ~Wizard()
    {
        app.reset();
        RemoveTrackFiles();
    }

    AppDelegate& operator*() const { return *app; }
    AppDelegate* operator->() const { return app.get(); }
    Audio& audio() const { return app->audioController(); }

    Rig rig;
    MessageBoxAnswerer boxes;
    std::unique_ptr<AppDelegate> app;
};

// Records `tracks` tracks by hand (automatic splitting off) and stops: the naming panels.
bool RecordAndStop(Wizard& wizard, UInt32 tracks)
{
    if (!Press(*wizard, "nextButton") || wizard->selectedPanel() != 2)
        return false;
    Button(*wizard, 2, "automaticallySplitTracks")->setChecked(false);
    if (!Press(*wizard, "nextButton") || wizard->selectedPanel() != 3)
        return false;
    while (wizard.audio().numRecordedTracks() < tracks)
        wizard.audio().newTrack();
    return Press(*wizard, "nextButton");
}

class UrlCatcher : public QObject {
    Q_OBJECT
  public:
    QList<QUrl> opened;
    Q_INVOKABLE void open(const QUrl& url) { opened << url; }
};

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

        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(wizard.boxes.count(), 1);
        QVERIFY(wizard.boxes.saw(Warning("IDS_WARNING"), Warning(warning.toUtf8().constData())));
        QCOMPARE(wizard->selectedPanel(), 1u);
        QVERIFY(!PlayingThrough(*wizard));

        // Put right, Next again goes on.
        wizard.rig.bus->Clear();
        wizard.rig.bus->Add(kPlainTurntable.vendor, kPlainTurntable.product);
        if (!(usbDevices.contains(1) && extraInputs >= 0))
            wizard.rig.addInput(kPlainTurntable.input);
        QVERIFY(Press(*wizard, "nextButton"));
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
            QVERIFY(!PlayingThrough(*wizard));
            if (i > 0)
                QVERIFY(Press(*wizard, qPrintable(answers[i - 1])));
            QVERIFY(Press(*wizard, "nextButton"));
        }
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(PlayingThrough(*wizard));

        QVERIFY(Press(*wizard, "backButton"));
        QCOMPARE(wizard->selectedPanel(), 1u);
        QVERIFY(!PlayingThrough(*wizard));
    }

    void levelPanelRoundsTheGainItHandsOn()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(Press(*wizard, "nextButton"));
        auto* slider = wizard->panelView(2)->gainDbSlider();
        QVERIFY(slider);
        slider->setFloatValue(-3.04);
        QCOMPARE(wizard.audio().gainDb(), -3.0f);
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
        QVERIFY(Press(*wizard, "nextButton"));
        Button(*wizard, 2, "automaticallySplitTracks")->setChecked(split);
        QVERIFY(Press(*wizard, "nextButton"));

        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(PlayingThrough(*wizard));
        QVERIFY(wizard.audio().recording());
        QCOMPARE(wizard.audio().automaticTrackSplit(), split);
        QCOMPARE(Button(*wizard, 3, "splitTracksButton")->isVisible(), !split);
        const CustomView* panel = wizard->panelView(3);
        QCOMPARE(qobject_cast<QLabel*>(panel->viewWithTag(21))->text(), QStringLiteral("00:00:00"));
        QCOMPARE(qobject_cast<QLabel*>(panel->viewWithTag(22))->text(), QStringLiteral("1"));

        // Back keeps recording behind the level panel.
        QVERIFY(Press(*wizard, "backButton"));
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(PlayingThrough(*wizard));
        QVERIFY(wizard.audio().recording());
    }

    void newTrackWarnsBeforeTheLastTrackAndStopsAtTheLimit()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(Press(*wizard, "nextButton"));
        Button(*wizard, 2, "automaticallySplitTracks")->setChecked(false);
        QVERIFY(Press(*wizard, "nextButton"));
        while (wizard.audio().numRecordedTracks() < 38)
            wizard.audio().newTrack();

        QVERIFY(Press(*wizard, "splitTracksButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 39u);
        QCOMPARE(wizard.boxes.count(), 0);

        QVERIFY(Press(*wizard, "splitTracksButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 40u);
        QCOMPARE(wizard.boxes.count(), 1);
        QVERIFY(wizard.boxes.saw(Warning("IDS_WARNING"), Warning("IDS_LASTTRACK")));
        QVERIFY(wizard.audio().recording());
        QCOMPARE(qobject_cast<QLabel*>(wizard->panelView(3)->viewWithTag(22))->text(), QStringLiteral("40"));

        QVERIFY(Press(*wizard, "splitTracksButton"));
        QCOMPARE(wizard.boxes.count(), 2);
        QVERIFY(wizard.boxes.saw(Warning("IDS_WARNING"), Warning("IDS_LIMIT")));
        QCOMPARE(wizard.audio().numRecordedTracks(), 40u);
        QVERIFY(!wizard.audio().recording());
        QCOMPARE(wizard->selectedPanel(), 7u);
        QVERIFY(!PlayingThrough(*wizard));
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
        QVERIFY(RecordAndStop(wizard, tracks));
        for (qsizetype i = 0; i < panels.size(); ++i) {
            if (i > 0)
                QVERIFY(Press(*wizard, "nextButton"));
            const unsigned panel = panels[i];
            QCOMPARE(wizard->selectedPanel(), panel);
            QVERIFY(!PlayingThrough(*wizard));
            QCOMPARE(UsableNameFields(*wizard, panel), usable[i]);
        }
        QVERIFY(!wizard->exporting());
    }

    void aShorterRecordingHidesTheFieldsALongerOneShowed()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(RecordAndStop(wizard, 3));
        QCOMPARE(UsableNameFields(*wizard, 7), QStringLiteral("xxx......."));
        // Back to the recording and record again from the start, with more tracks.
        QVERIFY(Press(*wizard, "backButton"));
        QVERIFY(Press(*wizard, "backButton"));
        QVERIFY(Press(*wizard, "nextButton"));
        while (wizard.audio().numRecordedTracks() < 6)
            wizard.audio().newTrack();
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(UsableNameFields(*wizard, 7), QStringLiteral("xxxxxx...."));
    }

    void singleTrackKeepsArtistAndAlbumButNotTheTrackName()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(RecordAndStop(wizard, 1));
        QCOMPARE(wizard->selectedPanel(), 4u);
        QTest::keyClicks(Field(*wizard, 4, 10), QStringLiteral("Nina Berg"));
        QTest::keyClicks(Field(*wizard, 4, 11), QStringLiteral("Attic"));
        QTest::keyClicks(Field(*wizard, 4, 12), QStringLiteral("Paper Boats"));

        QVERIFY(Press(*wizard, "backButton"));
        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(wizard->selectedPanel(), 4u);
        QCOMPARE(Field(*wizard, 4, 10)->text(), QStringLiteral("Nina Berg"));
        QCOMPARE(Field(*wizard, 4, 11)->text(), QStringLiteral("Attic"));
        QCOMPARE(Field(*wizard, 4, 12)->text(), QString());
    }

    void backFromTheSecondNamingPanelClearsTheFirst()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(RecordAndStop(wizard, 12));
        QTest::keyClicks(Field(*wizard, 7, 51), QStringLiteral("Nina Berg"));
        QTest::keyClicks(Field(*wizard, 7, 61), QStringLiteral("Morning Train"));
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(wizard->selectedPanel(), 8u);
        QTest::keyClicks(Field(*wizard, 8, 72), QStringLiteral("Lanterns"));

        QVERIFY(Press(*wizard, "backButton"));
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(Field(*wizard, 7, 61)->text(), QString());
        QCOMPARE(Field(*wizard, 7, 51)->text(), QStringLiteral("Nina Berg"));
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(Field(*wizard, 8, 72)->text(), QStringLiteral("Lanterns"));
    }

    void returnGoesFromNameToNameAndThenToNext()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(RecordAndStop(wizard, 2));
        QVERIFY(QTest::qWaitForWindowActive(wizard->window()));
        QCOMPARE(QApplication::focusWidget(), Field(*wizard, 7, 51));
        const int order[] = {52, 61, 62};
        for (int tag : order) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            QCOMPARE(QApplication::focusWidget(), Field(*wizard, 7, tag));
        }
        // Past the last track's field (63 to 70 are hidden) comes Next.
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), Button(*wizard, 7, "nextButton"));
    }

    void stopWithoutTracksEndsOnTheFirstNamingPanel()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(RecordAndStop(wizard, 1));
        // As after an export: the count is back to 0 and the user goes back to the recording panel.
        wizard.audio().resetTrackCounter();
        QVERIFY(Press(*wizard, "backButton"));
        QCOMPARE(wizard->selectedPanel(), 3u);
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(wizard->selectedPanel(), 7u);
        QCOMPARE(UsableNameFields(*wizard, 7), QStringLiteral(".........."));
    }

    void albumEndWithoutATrackGoesBackToTheLevelPanel()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(Press(*wizard, "nextButton"));
        QVERIFY(Press(*wizard, "nextButton"));
        QCOMPARE(wizard.audio().numRecordedTracks(), 1u);
        // The side ended during the first track: it held only the run-out.
        wizard.audio().albumEndDetectedOnMainThread();
        QCOMPARE(wizard.audio().numRecordedTracks(), 0u);
        QVERIFY(!wizard.audio().recording());
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(PlayingThrough(*wizard));
    }

    void anInvalidPanelIsAnInternalError()
    {
        Wizard wizard({kPlainTurntable});
        wizard->setPanel(13);
        QVERIFY(
            wizard.boxes.saw(QStringLiteral("Internal error"), QStringLiteral("Switch to invalid panel")));
        QCOMPARE(wizard->selectedPanel(), 1u);
    }

    void closeAsksFirst()
    {
        Wizard wizard({kPlainTurntable});
        QVERIFY(Press(*wizard, "nextButton"));
        wizard.boxes.answer = Tolm::Localized("IDS_NO");
        QVERIFY(Press(*wizard, "closeButton"));
        QVERIFY(wizard.boxes.saw(Tolm::Localized("IDS_CANCEL_RECORDING"), QString()));
        QVERIFY(wizard->window()->isVisible());
        QCOMPARE(wizard->selectedPanel(), 2u);
        QVERIFY(PlayingThrough(*wizard));

        wizard.boxes.answer = Tolm::Localized("IDS_YES");
        QVERIFY(Press(*wizard, "closeButton"));
        QVERIFY(!wizard->window()->isVisible());
    }

    void helpOpensTheShippedPage()
    {
        Wizard wizard({});
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &catcher, "open");
        QVERIFY(Press(*wizard, "helpButton"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QCOMPARE(catcher.opened.size(), 1);
        QVERIFY(QFile::exists(catcher.opened.first().toLocalFile()));
        QVERIFY(catcher.opened.first().fileName().startsWith(QLatin1String("index.")));
    }

    void elapsedTimeIsRoundedToTheSecond_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("shown");
        QTest::newRow("start") << 0.0 << QStringLiteral("00:00:00");
        QTest::newRow("59.4 s") << 59.4 << QStringLiteral("00:00:59");
        QTest::newRow("59.6 s") << 59.6 << QStringLiteral("00:01:00");
        QTest::newRow("65 s") << 65.0 << QStringLiteral("00:01:05");
        QTest::newRow("just short of an hour") << 3599.6 << QStringLiteral("01:00:00");
        QTest::newRow("an hour") << 3600.0 << QStringLiteral("01:00:00");
        QTest::newRow("hundred hours") << 360000.0 << QStringLiteral("100:00:00");
    }

    void elapsedTimeIsRoundedToTheSecond()
    {
        QFETCH(double, seconds);
        QFETCH(QString, shown);
        QCOMPARE(Tolm::Ui::ElapsedTimeText(UInt64(seconds * 1e9)), shown);
    }
};

QTEST_MAIN(WizardFlowTest)
#include "WizardFlowTest.moc"
