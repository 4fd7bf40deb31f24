#pragma once

#include "ui/ExportBridge.h"

#include <QObject>
#include <QPointer>
#include <QString>

class QLabel;

namespace Tolm::Ui {

class AMShapedButton;
class CustomView;

// The last panel's account of an export: the title says whether every track went in, a few
// lines name each track that did not and why, and a button opens the album's folder in the
// file manager. Its controls are added to the panel and live with it.
class DonePanelReport : public QObject {
    Q_OBJECT
  public:
    explicit DonePanelReport(CustomView& panel);

    // `libraryFolder` is opened when no track was added.
    void show(const ExportOutcome& outcome, const QString& libraryFolder);

    QString folder() const { return mFolder; }
    QString text() const; // the report, as plain text

  private:
    void openFolder();

    QPointer<QLabel> mTitle;
    QPointer<QLabel> mQuestion;
    QPointer<QWidget> mYes;
    QPointer<QWidget> mNo;
    QPointer<QLabel> mReport;
    QPointer<AMShapedButton> mOpenButton;
    QString mFolder;
};

} // namespace Tolm::Ui
