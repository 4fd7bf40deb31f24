#include "ui/CustomView.h"

#include "RecordingController.h"
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

void Click(QAbstractButton* button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
}

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

    void everyButtonReachesItsHandler_data()
    {
        QTest::addColumn<QString>("panel");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("handler");
        const auto row = [](const QString& panel, const char* button, const QString& handler) {
            QTest::addRow("%s %s", qPrintable(panel), button)
                << panel << QString::fromLatin1(button) << handler;
        };
        for (const char* panel : {"Tab1", "Tab2", "Tab3", "Tab4", "Tab5", "Tab6", "Tab7", "Tab8", "Tab9",
                                  "Tab10", "SelectDeviceTab", "SelectTape"}) {
            const QString name = QStringLiteral("Tolm_") + QLatin1String(panel);
            row(name, "closeButton", QStringLiteral("doCloseButton"));
            row(name, "helpButton", QStringLiteral("showHelp"));
        }
        row(QStringLiteral("Tolm_Tab1"), "nextButton", QStringLiteral("doNextButton1"));
        row(QStringLiteral("Tolm_Tab2"), "nextButton", QStringLiteral("doRecordButton(0,0)"));
        row(QStringLiteral("Tolm_Tab3"), "splitTracksButton", QStringLiteral("doNewTrackButton"));
        row(QStringLiteral("Tolm_SelectDeviceTab"), "nextButton", QStringLiteral("doNextButtonSelectDevice"));
        row(QStringLiteral("Tolm_SelectDeviceTab"), "backButton", QStringLiteral("doBackButtonSelectDevice"));
        row(QStringLiteral("Tolm_SelectTape"), "nextButton", QStringLiteral("doNextButtonSelectTape"));
        row(QStringLiteral("Tolm_SelectTape"), "backButton", QStringLiteral("doBackButtonSelectTape"));
        for (int panel = 2; panel <= 10; ++panel) {
            const QString name = QStringLiteral("Tolm_Tab%1").arg(panel);
            if (panel > 2)
                row(name, "nextButton", QStringLiteral("doNextButton%1").arg(panel));
            row(name, "backButton", QStringLiteral("doBackButton%1").arg(panel));
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
        Click(target);
        QCOMPARE(controller.calls, QStringList{handler});
        // Record always names the panel as sender; the others name the button.
        QObject* expected =
            handler.startsWith(QLatin1String("doRecord")) ? static_cast<QObject*>(view.get()) : target;
        QCOMPARE(controller.lastSender, expected);
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
        QCOMPARE(view->gainValueText()->text(), QStringLiteral("+0.0"));
        view->gainDbSlider()->setFloatValue(slider);
        QCOMPARE(view->gainValueText()->text(), shown);
        QCOMPARE(controller.lastGain, sent);
    }

    void choicesStartAtTheirDefaultsAndAnswerFromTheRightButton()
    {
        QVERIFY(!SubViewController(QStringLiteral("_Tolm_SelectDeviceTab"), nullptr).view());

        std::unique_ptr<CustomView> device = LoadPanel(QStringLiteral("Tolm_SelectDeviceTab"));
        QVERIFY(device->getSelectedDeviceIsTurtable());
        Click(device->cassovaButton());
        QVERIFY(!device->getSelectedDeviceIsTurtable());
        QVERIFY(!device->platinaButton()->isChecked());
        // Clicking the chosen one again keeps it chosen.
        Click(device->cassovaButton());
        QVERIFY(device->cassovaButton()->isChecked());

        std::unique_ptr<CustomView> tape = LoadPanel(QStringLiteral("Tolm_SelectTape"));
        QVERIFY(!tape->getSelectedTapeTypeIsChrome());
        tape->doSelectTapeChrome();
        QVERIFY(tape->getSelectedTapeTypeIsChrome());
        // The answer comes from the normal tape's button: neither chosen reads as chrome, as does
        // a panel without the buttons.
        tape->normalTape()->setState(0);
        tape->chromeTape()->setState(0);
        QVERIFY(tape->getSelectedTapeTypeIsChrome());
        QVERIFY(LoadPanel(QStringLiteral("Tolm_Tab1"))->getSelectedTapeTypeIsChrome());
    }

    void answeringNoEndsTheProgramInsteadOfGoingOn()
    {
        RecordingController controller;
        CustomWindow window;
        CustomView* view = LoadPanel(QStringLiteral("Tolm_Tab6"), &controller).release();
        window.setContent(view);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(view->yesButton6()->isChecked() && !view->yesButton6()->isEnabled());
        QVERIFY(!view->noButton6()->isChecked() && view->noButton6()->isEnabled());
        view->next()->click();
        QCOMPARE(controller.calls, QStringList{QStringLiteral("doNextButton6")});

        Click(view->noButton6());
        QVERIFY(view->noButton6()->isChecked() && !view->noButton6()->isEnabled());
        QVERIFY(view->yesButton6()->isEnabled() && !view->yesButton6()->isChecked());
        view->next()->click();
        QCOMPARE(controller.calls.size(), 1);
        QVERIFY(!window.isVisible());
    }

    void meteringShowsSilenceAsAnEmptyBarAndRunsWithoutMeters()
    {
        std::unique_ptr<CustomView> recording = LoadPanel(QStringLiteral("Tolm_Tab3"));
        QCOMPARE(recording->meteringViewL()->numChannels(), 1);
        QVERIFY(recording->meteringViewR()->hasClipIndicator());
        std::unique_ptr<QTimer> timer = recording->startMetering();
        QCOMPARE(timer->interval(), 1000 / 15);
        QCOMPARE(recording->meteringViewL()->meterValue(0), 0.0f);
        QCOMPARE(recording->meteringViewR()->meterValue(1), 0.0f);

        std::unique_ptr<CustomView> meterless = LoadPanel(QStringLiteral("Tolm_Tab1"));
        timer = meterless->startMetering();
        QVERIFY(timer->isActive());
        meterless->stopMetering();
        QVERIFY(timer->isActive());
    }

    void draggingTheBackgroundMovesTheWindowButNotAboveTheScreenAndItReopensWhereItWasLeft()
    {
        {
            CustomWindow window;
            CustomView* view = LoadPanel(QStringLiteral("Tolm_Tab1")).release();
            view->setBackgroundImage(ImageForView(1));
            window.setContent(view);
            window.move(100, 150);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            const int top = QGuiApplication::primaryScreen()->geometry().top();
            const QPoint grab = view->mapToGlobal(QPoint(300, 20));
            SendMouse(view, QEvent::MouseButtonPress, grab, Qt::LeftButton);
            SendMouse(view, QEvent::MouseMove, grab + QPoint(-30, 40), Qt::LeftButton);
            QCOMPARE(window.pos(), QPoint(70, 190));
            SendMouse(view, QEvent::MouseMove, QPoint(grab.x() - 30, top - 500), Qt::LeftButton);
            QCOMPARE(window.pos(), QPoint(70, top - view->mapTo(&window, QPoint(0, 0)).y()));
            SendMouse(view, QEvent::MouseButtonRelease, grab, Qt::NoButton);
            window.move(123, 45);
            window.close();
        }
        CustomWindow reopened;
        reopened.setContent(new QWidget);
        QCOMPARE(reopened.pos(), QPoint(123, 45));
    }
};

QTEST_MAIN(CustomViewTest)
#include "CustomViewTest.moc"
