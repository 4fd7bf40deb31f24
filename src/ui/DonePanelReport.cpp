#include "ui/DonePanelReport.h"

#include "capture/Localization.h"
#include "ui/AMShapedButton.h"
#include "ui/CustomView.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QTextDocumentFragment>
#include <QUrl>
#include <algorithm>

namespace Tolm::Ui {

namespace {

// The report goes under the title; the question whether to record another record and its
// two answers move down below it.
constexpr int kReportTop = 136;
constexpr int kReportWidth = 548;
constexpr int kReportMaxHeight = 120;
constexpr int kGap = 10;
constexpr int kQuestionToAnswers = 40;
constexpr QRect kOpenButtonFrame(64, 390, 226, 40);

QString Paragraph(const QString& text, bool strong = false)
{
    return QStringLiteral("<p style=\"margin-top:0; margin-bottom:5px; font-size:13px; color:%1;%2\">%3</p>")
        .arg(strong ? QStringLiteral("#8a2a1d") : QStringLiteral("#3b4451"),
             strong ? QStringLiteral(" font-weight:600;") : QString(), text.toHtmlEscaped());
}

} // namespace

DonePanelReport::DonePanelReport(CustomView& panel) : QObject(&panel)
{
    mTitle = panel.findChild<QLabel*>(QStringLiteral("title"));
    mQuestion = panel.findChild<QLabel*>(QStringLiteral("text"));
    mYes = panel.yesButton6();
    mNo = panel.noButton6();

    mReport = new QLabel(&panel);
    mReport->setObjectName(QStringLiteral("exportReport"));
    mReport->setGeometry(36, kReportTop, kReportWidth, kReportMaxHeight);
    mReport->setTextFormat(Qt::RichText);
    mReport->setWordWrap(true);
    mReport->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    mReport->setTextInteractionFlags(Qt::TextSelectableByMouse);

    mOpenButton = new AMShapedButton(&panel);
    mOpenButton->setObjectName(QStringLiteral("openAlbumButton"));
    mOpenButton->setGeometry(kOpenButtonFrame);
    mOpenButton->setImageName(QStringLiteral("btn_Open"));
    mOpenButton->setAlternateImageName(QStringLiteral("btn_OpenAqua"));
    mOpenButton->setText(QStringLiteral("IDS_BUTTON_OPEN_ALBUM"));
    mOpenButton->awakeFromNib();
    connect(mOpenButton, &QAbstractButton::clicked, this, &DonePanelReport::openFolder);
}

void DonePanelReport::show(const ExportOutcome& outcome, const QString& libraryFolder)
{
    mFolder = outcome.albumFolder.isEmpty() ? libraryFolder : outcome.albumFolder;
    if (mTitle) {
        mTitle->setTextFormat(Qt::RichText);
        mTitle->setText(Localized(outcome.notAdded.isEmpty() ? "IDS_TAB6_TITLE" : "IDS_TAB6_TITLE_NOT_ALL"));
    }

    QString html = Paragraph(Localized("IDS_TAB6_ADDED")
                                 .arg(outcome.added)
                                 .arg(outcome.trackCount)
                                 .arg(QDir::toNativeSeparators(mFolder)));
    for (const auto& track : outcome.notAdded) {
        QString reason = track.reason;
        if (!reason.isEmpty() && !reason.back().isPunct())
            reason += QLatin1Char('.');
        html += Paragraph(Localized("IDS_TAB6_NOT_ADDED").arg(track.track).arg(track.title, reason), true);
    }
    if (!outcome.notAdded.isEmpty()) {
        const QString kept = QFileInfo(outcome.notAdded.front().keptIn).absolutePath();
        html += Paragraph(Localized("IDS_TAB6_KEPT").arg(QDir::toNativeSeparators(kept)));
    }
    if (outcome.replacedSamples > 0)
        html += Paragraph(Localized("IDS_TAB6_REPLACED").arg(outcome.replacedSamples));
    if (!mReport)
        return;
    mReport->setText(html);
    const int height = std::min(mReport->heightForWidth(kReportWidth), kReportMaxHeight);
    mReport->setGeometry(36, kReportTop, kReportWidth, height);
    const int questionTop = kReportTop + height + kGap;
    if (mQuestion)
        mQuestion->move(mQuestion->x(), questionTop);
    for (QWidget* answer : {static_cast<QWidget*>(mYes), static_cast<QWidget*>(mNo)}) {
        if (answer)
            answer->move(answer->x(), questionTop + kQuestionToAnswers);
    }
}

QString DonePanelReport::text() const
{
    return mReport ? QTextDocumentFragment::fromHtml(mReport->text()).toPlainText() : QString();
}

void DonePanelReport::openFolder()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(mFolder));
}

} // namespace Tolm::Ui
