#pragma once

#include "library/ImportFormat.h"

#include <QDialog>
#include <map>

class QComboBox;
class QLabel;
class QLineEdit;
class QSlider;

namespace Tolm::Ui {

// Where the music library lives, which format tracks are converted to and, for the lossy
// formats, at which quality. Shows the stored settings and stores them on OK; tolm-convert
// reads the same settings as its defaults.
class PreferencesDialog final : public QDialog {
    Q_OBJECT
  public:
    explicit PreferencesDialog(QWidget* parent = nullptr);

    QString folder() const;
    Library::ImportFormat format() const;
    int quality() const; // of the chosen format

    void setFolder(const QString& folder);
    void setFormat(Library::ImportFormat format);
    void setQuality(int quality);

    // Stores what the dialog shows. A folder that is the default one is stored as "default",
    // so it follows the user's music folder if that moves.
    void store() const;

    void accept() override;

  private:
    void chooseFolder();
    void formatChanged();
    void showQuality(int quality);

    QLineEdit* mFolder;
    QComboBox* mFormat;
    QSlider* mQuality;
    QLabel* mQualityText;
    QLabel* mQualityLabel;
    // Qualities per lossy format as shown, so switching formats keeps each one's choice.
    std::map<Library::ImportFormat, int> mQualities;
    Library::ImportFormat mShownFormat = Library::ImportFormat::Flac;
};

} // namespace Tolm::Ui
