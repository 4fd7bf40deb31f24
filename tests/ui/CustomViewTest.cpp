#include "RecordingController.h"

#include "ui/CustomView.h"
#include "ui/CustomWindow.h"
#include "ui/ImageForView.h"
#include "ui/SubViewController.h"

#include <QMouseEvent>
#include <QScreen>
#include <QStandardPaths>
#include <QTimer>
#include <QtTest>

using namespace Tolm::Ui;

namespace {

std::unique_ptr<CustomView> LoadPanel(const QString& name, RecordingController* controller = nullptr)
{
    SubViewController loader(name, nullptr);
    std::unique_ptr<CustomView> view = loader.takeView();
    if (view && controller)
        view->setController(controller);
    return view;
}

QPoint ButtonCentre(const QWidget* button) { return button->rect().center(); }

void SendMouse(QWidget* widget, QEvent::Type type, QPoint global, Qt::MouseButtons buttons)
{
    const QPointF local = widget->mapFromGlobal(QPointF(global));
    QMouseEvent event(type, local, QPointF(global), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                      buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

} // namespace

class CustomViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void aMissingInterfaceFileGivesNoView()
    {
        SubViewController loader(QStringLiteral("_Tolm_SelectDeviceTab"), nullptr);
        QVERIFY(loader.view() == nullptr);
    }

    void everyButtonReachesItsHandler_data()
    {
        QTest::addColumn<QString>("panel");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("handler");
        const auto row = [](const char* panel, const char* button, const char* handler) {
            QTest::addRow("%s %s", panel, button) << QString::fromLatin1(panel) << QString::fromLatin1(button)
                                                  << QString::fromLatin1(handler);
        };
        const char* panels[] = {"Tolm_Tab1", "Tolm_Tab2", "Tolm_Tab3", "Tolm_Tab4", "Tolm_Tab5", "Tolm_Tab6",
                                "Tolm_Tab7", "Tolm_Tab8", "Tolm_Tab9", "Tolm_Tab10", "Tolm_SelectDeviceTab",
                                "Tolm_SelectTape"};
        for (const char* panel : panels) {
            row(panel, "closeButton", "doCloseButton");
            row(panel, "helpButton", "showHelp");
        }
        row("Tolm_Tab1", "nextButton", "doNextButton1");
        row("Tolm_SelectDeviceTab", "nextButton", "doNextButtonSelectDevice");
        row("Tolm_SelectDeviceTab", "backButton", "doBackButtonSelectDevice");
        row("Tolm_SelectTape", "nextButton", "doNextButtonSelectTape");
        row("Tolm_SelectTape", "backButton", "doBackButtonSelectTape");
        row("Tolm_Tab2", "nextButton", "doRecordButton(0,0)");
        row("Tolm_Tab2", "backButton", "doBackButton2");
        row("Tolm_Tab3", "nextButton", "doNextButton3");
        row("Tolm_Tab3", "backButton", "doBackButton3");
        row("Tolm_Tab3", "splitTracksButton", "doNewTrackButton");
        for (int panel = 4; panel <= 10; ++panel) {
            const QByteArray name = "Tolm_Tab" + QByteArray::number(panel);
            const QByteArray next = "doNextButton" + QByteArray::number(panel);
            const QByteArray back = "doBackButton" + QByteArray::number(panel);
            row(name.constData(), "nextButton", next.constData());
            row(name.constData(), "backButton", back.constData());
        }
    }

    void everyButtonReachesItsHandler()
    {
        QFETCH(QString, panel);
        QFETCH(QString, button);
        QFETCH(QString, handler);
        RecordingController controller;
        std::unique_ptr<CustomView> view = LoadPanel(panel, &controller);
        QVERIFY(view);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        auto* target = view->findChild<QAbstractButton*>(button);
        QVERIFY2(target, qPrintable(button));
        QTest::mouseClick(target, Qt::LeftButton, {}, ButtonCentre(target));
        QCOMPARE(controller.calls, QStringList{handler});
        // Record always names the panel as sender; the others name the button.
        QObject* expected = handler.startsWith(QLatin1String("doRecord")) ? static_cast<QObject*>(view.get()) : target;
        QCOMPARE(controller.lastSender, expected);
    }

    void panelsCarryTheirTags()
    {
        const std::vector<std::pair<QString, std::vector<int>>> tags{
            {QStringLiteral("Tolm_Tab3"), {21, 22}},
            {QStringLiteral("Tolm_Tab4"), {10, 11, 12}},
            {QStringLiteral("Tolm_Tab5"), {31}},
            {QStringLiteral("Tolm_Tab7"), {51, 52, 61, 62, 63, 64, 65, 66, 67, 68, 69, 70}},
            {QStringLiteral("Tolm_Tab8"), {71, 72, 73, 74, 75, 76, 77, 78, 79, 80}},
            {QStringLiteral("Tolm_Tab9"), {81, 82, 83, 84, 85, 86, 87, 88, 89, 90}},
            {QStringLiteral("Tolm_Tab10"), {91, 92, 93, 94, 95, 96, 97, 98, 99, 100}},
        };
        for (const auto& [panel, expected] : tags) {
            std::unique_ptr<CustomView> view = LoadPanel(panel);
            QVERIFY(view);
            for (int tag : expected)
                QVERIFY2(view->viewWithTag(tag), qPrintable(panel + QLatin1Char(' ') + QString::number(tag)));
        }
    }

    void recordingPanelsHaveMetersAndTheirControls()
    {
        for (const QString& panel : {QStringLiteral("Tolm_Tab2"), QStringLiteral("Tolm_Tab3")}) {
            std::unique_ptr<CustomView> view = LoadPanel(panel);
            QVERIFY(view->meteringViewL() && view->meteringViewR());
            QCOMPARE(view->meteringViewL()->numChannels(), 1);
            QVERIFY(view->meteringViewR()->hasClipIndicator());
        }
        std::unique_ptr<CustomView> start = LoadPanel(QStringLiteral("Tolm_Tab2"));
        QVERIFY(start->gainDbSlider() && start->gainValueText() && start->splitCheckBox());
        QCOMPARE(start->gainValueText()->text(), QStringLiteral("+0.0"));
        QVERIFY(LoadPanel(QStringLiteral("Tolm_Tab3"))->splitButton());
    }

    void roundsTheGainToTenths_data()
    {
        QTest::addColumn<double>("slider");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<float>("sent");
        QTest::newRow("2.449") << 2.449 << QStringLiteral("+2.4") << 2.4f;
        QTest::newRow("2.45 rounds up in single precision") << 2.45 << QStringLiteral("+2.5") << 2.5f;
        QTest::newRow("-0.04") << -0.04 << QStringLiteral("+0.0") << 0.0f;
        QTest::newRow("-0.06") << -0.06 << QStringLiteral("-0.1") << -0.1f;
        QTest::newRow("-3.04") << -3.04 << QStringLiteral("-3.0") << -3.0f;
        QTest::newRow("top") << 20.0 << QStringLiteral("+20.0") << 20.0f;
    }

    void roundsTheGainToTenths()
    {
        QFETCH(double, slider);
        QFETCH(QString, shown);
        QFETCH(float, sent);
        RecordingController controller;
        std::unique_ptr<CustomView> view = LoadPanel(QStringLiteral("Tolm_Tab2"), &controller);
        view->gainDbSlider()->setFloatValue(slider);
        QCOMPARE(view->gainValueText()->text(), shown);
        QCOMPARE(controller.lastGain, sent);
    }

    void choicesStartAtTheirDefaultsAndAnswerFromTheRightButton()
    {
        std::unique_ptr<CustomView> device = LoadPanel(QStringLiteral("Tolm_SelectDeviceTab"));
        QVERIFY(device->getSelectedDeviceIsTurtable());
        QTest::mouseClick(device->cassovaButton(), Qt::LeftButton, {}, ButtonCentre(device->cassovaButton()));
        QVERIFY(!device->getSelectedDeviceIsTurtable());
        QCOMPARE(device->platinaButton()->isChecked(), false);
        // Clicking the chosen one again keeps it chosen.
        QTest::mouseClick(device->cassovaButton(), Qt::LeftButton, {}, ButtonCentre(device->cassovaButton()));
        QVERIFY(device->cassovaButton()->isChecked());

        std::unique_ptr<CustomView> tape = LoadPanel(QStringLiteral("Tolm_SelectTape"));
        QVERIFY(!tape->getSelectedTapeTypeIsChrome());
        tape->doSelectTapeChrome();
        QVERIFY(tape->getSelectedTapeTypeIsChrome());
        // The answer comes from the normal tape's button: neither chosen reads as chrome.
        tape->normalTape()->setState(0);
        tape->chromeTape()->setState(0);
        QVERIFY(tape->getSelectedTapeTypeIsChrome());
        // A panel without the buttons answers the same way.
        QVERIFY(LoadPanel(QStringLiteral("Tolm_Tab1"))->getSelectedTapeTypeIsChrome());
    }

    void theSplitChoiceAndTheNewTrackButton()
    {
        std::unique_ptr<CustomView> start = LoadPanel(QStringLiteral("Tolm_Tab2"));
        QVERIFY(start->getAutomaticallySplitTracks());
        start->splitCheckBox()->click();
        QVERIFY(!start->getAutomaticallySplitTracks());

        std::unique_ptr<CustomView> recording = LoadPanel(QStringLiteral("Tolm_Tab3"));
        recording->show();
        recording->setSplitButtonVisibility(false);
        QVERIFY(!recording->splitButton()->isVisible());
        recording->setSplitButtonVisibility(true);
        QVERIFY(recording->splitButton()->isVisible());
    }

    void answeringNoEndsTheProgramInsteadOfGoingOn()
    {
        RecordingController controller;
        CustomWindow window;
        std::unique_ptr<CustomView> owned = LoadPanel(QStringLiteral("Tolm_Tab6"), &controller);
        CustomView* view = owned.release();
        window.setContent(view);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(view->yesButton6()->isChecked() && !view->yesButton6()->isEnabled());
        QVERIFY(!view->noButton6()->isChecked() && view->noButton6()->isEnabled());

        view->next()->click();
        QCOMPARE(controller.calls, QStringList{QStringLiteral("doNextButton6")});

        QTest::mouseClick(view->noButton6(), Qt::LeftButton, {}, ButtonCentre(view->noButton6()));
        QVERIFY(view->noButton6()->isChecked() && !view->noButton6()->isEnabled());
        QVERIFY(view->yesButton6()->isEnabled() && !view->yesButton6()->isChecked());
        view->next()->click();
        QCOMPARE(controller.calls.size(), 1);
        QVERIFY(!window.isVisible());
    }

    void meteringRunsOnPanelsWithoutMeters()
    {
        std::unique_ptr<CustomView> view = LoadPanel(QStringLiteral("Tolm_Tab1"));
        std::unique_ptr<QTimer> timer = view->startMetering();
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), 1000 / 15);
        view->stopMetering();
        QVERIFY(timer->isActive());
    }

    void meteringShowsSilenceAsAnEmptyBar()
    {
        std::unique_ptr<CustomView> view = LoadPanel(QStringLiteral("Tolm_Tab2"));
        std::unique_ptr<QTimer> timer = view->startMetering();
        QCOMPARE(view->meteringViewL()->meterValue(0), 0.0f);
        QCOMPARE(view->meteringViewR()->meterValue(1), 0.0f);
    }

    void theWindowReopensWhereItWasLeft()
    {
        {
            CustomWindow window;
            window.setContent(new QWidget);
            window.show();
            window.move(123, 45);
            window.close();
        }
        CustomWindow reopened;
        reopened.setContent(new QWidget);
        QCOMPARE(reopened.pos(), QPoint(123, 45));
    }

    void draggingStopsAtTheTopOfTheScreen()
    {
        const QRect screen(0, 0, 800, 600);
        QCOMPARE(CustomView::DragOrigin({300, 200}, {50, 40}, screen, 14), QPoint(250, 160));
        QCOMPARE(CustomView::DragOrigin({300, 20}, {50, 40}, screen, 14), QPoint(250, -14));
        // Left, right and bottom are free.
        QCOMPARE(CustomView::DragOrigin({10, 700}, {50, 40}, screen, 14), QPoint(-40, 660));
        QCOMPARE(CustomView::DragOrigin({900, 300}, {50, 40}, QRect(0, 100, 800, 600), 0), QPoint(850, 260));
        QCOMPARE(CustomView::DragOrigin({900, 120}, {50, 40}, QRect(0, 100, 800, 600), 0), QPoint(850, 100));
    }

    void draggingTheBackgroundMovesTheWindow()
    {
        CustomWindow window;
        CustomView* view = LoadPanel(QStringLiteral("Tolm_Tab1")).release();
        view->setBackgroundImage(ImageForView(1));
        window.setContent(view);
        window.move(100, 150);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const int panelTop = view->mapTo(&window, QPoint(0, 0)).y();

        const QPoint grab = view->mapToGlobal(QPoint(300, 20));
        SendMouse(view, QEvent::MouseButtonPress, grab, Qt::LeftButton);
        SendMouse(view, QEvent::MouseMove, grab + QPoint(-30, 40), Qt::LeftButton);
        QCOMPARE(window.pos(), QPoint(70, 190));
        SendMouse(view, QEvent::MouseMove, QPoint(grab.x() - 30, screen.top() - 500), Qt::LeftButton);
        QCOMPARE(window.pos(), QPoint(70, screen.top() - panelTop));
        SendMouse(view, QEvent::MouseButtonRelease, grab, Qt::NoButton);
    }
};

QTEST_MAIN(CustomViewTest)
#include "CustomViewTest.moc"
