#include "ui/PreferencesDialog.h"

#include "capture/Localization.h"
#include "library/LibrarySettings.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

namespace Tolm::Ui {

using Library::ImportFormat;
using Library::LibrarySettings;

namespace {

QString FormatTitle(ImportFormat format)
{
    return Localized(QStringLiteral("IDS_FORMAT_") + Library::ImportFormatName(format).toUpper());
}

} // namespace

PreferencesDialog::PreferencesDialog(QWidget* parent)
    : QDialog(parent), mFolder(new QLineEdit(this)), mFormat(new QComboBox(this)),
      mQuality(new QSlider(Qt::Horizontal, this)), mQualityText(new QLabel(this)),
      mQualityLabel(new QLabel(Localized("IDS_PREFS_QUALITY"), this))
{
    setWindowTitle(Localized("IDS_PREFERENCES"));
    setObjectName(QStringLiteral("preferences"));

    auto* choose = new QPushButton(Localized("IDS_PREFS_CHOOSE"), this);
    choose->setObjectName(QStringLiteral("chooseFolder"));
    connect(choose, &QPushButton::clicked, this, &PreferencesDialog::chooseFolder);
    mFolder->setObjectName(QStringLiteral("folder"));
    mFolder->setMinimumWidth(320);
    mFolder->setPlaceholderText(LibrarySettings::defaultFolder());
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(mFolder, 1);
    folderRow->addWidget(choose);

    mFormat->setObjectName(QStringLiteral("format"));
    for (const ImportFormat format : Library::AllImportFormats()) {
        // A format this system cannot encode is not offered (MP3 needs libsndfile with LAME).
        if (Library::ImportFormatAvailable(format))
            mFormat->addItem(FormatTitle(format), int(format));
        if (LibrarySettings::isLossy(format))
            mQualities[format] = LibrarySettings::quality(format);
    }
    connect(mFormat, &QComboBox::currentIndexChanged, this, &PreferencesDialog::formatChanged);

    mQuality->setObjectName(QStringLiteral("quality"));
    mQuality->setRange(0, 10);
    mQuality->setPageStep(1);
    mQuality->setTickPosition(QSlider::TicksBelow);
    connect(mQuality, &QSlider::valueChanged, this, &PreferencesDialog::showQuality);
    auto* qualityRow = new QHBoxLayout;
    qualityRow->addWidget(new QLabel(Localized("IDS_PREFS_SMALLER"), this));
    qualityRow->addWidget(mQuality, 1);
    qualityRow->addWidget(new QLabel(Localized("IDS_PREFS_BETTER"), this));
    qualityRow->addWidget(mQualityText);
    mQualityText->setMinimumWidth(mQualityText->fontMetrics().horizontalAdvance(QStringLiteral("10")) + 4);

    auto* form = new QFormLayout;
    form->addRow(Localized("IDS_PREFS_LIBRARY"), folderRow);
    form->addRow(Localized("IDS_PREFS_FORMAT"), mFormat);
    form->addRow(mQualityLabel, qualityRow);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &PreferencesDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PreferencesDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);

    setFolder(LibrarySettings::folderIsDefault() ? QString() : LibrarySettings::folder());
    setFormat(LibrarySettings::format());
    formatChanged();
}

QString PreferencesDialog::folder() const
{
    const QString typed = mFolder->text().trimmed();
    return typed.isEmpty() ? LibrarySettings::defaultFolder() : QDir::cleanPath(QDir::home().absoluteFilePath(typed));
}

ImportFormat PreferencesDialog::format() const
{
    return mFormat->count() == 0 ? ImportFormat::Flac : ImportFormat(mFormat->currentData().toInt());
}

int PreferencesDialog::quality() const
{
    return mQuality->value();
}

void PreferencesDialog::setFolder(const QString& folder)
{
    mFolder->setText(folder);
}

void PreferencesDialog::setFormat(ImportFormat format)
{
    const int index = mFormat->findData(int(format));
    if (index >= 0)
        mFormat->setCurrentIndex(index);
}

void PreferencesDialog::setQuality(int quality)
{
    mQuality->setValue(quality);
}

void PreferencesDialog::store() const
{
    const QString chosen = folder();
    LibrarySettings::setFolder(chosen == QDir::cleanPath(LibrarySettings::defaultFolder()) ? QString() : chosen);
    LibrarySettings::setFormat(format());
    auto qualities = mQualities;
    if (LibrarySettings::isLossy(format()))
        qualities[format()] = quality();
    for (const auto& [lossy, value] : qualities)
        LibrarySettings::setQuality(lossy, value);
}

void PreferencesDialog::accept()
{
    // A chosen folder is never made by the library (it may be a drive not plugged in), so a
    // mistyped one is caught here rather than at the end of a recording.
    const QString chosen = folder();
    if (!QFileInfo(chosen).isDir() && chosen != QDir::cleanPath(LibrarySettings::defaultFolder())) {
        const auto answer =
            QMessageBox::question(this, Localized("IDS_PREFERENCES"),
                                  Localized("IDS_PREFS_FOLDER_MISSING").arg(QDir::toNativeSeparators(chosen)));
        if (answer != QMessageBox::Yes)
            return;
    }
    store();
    QDialog::accept();
}

void PreferencesDialog::chooseFolder()
{
    const QString chosen =
        QFileDialog::getExistingDirectory(this, Localized("IDS_PREFS_LIBRARY"), folder());
    if (!chosen.isEmpty())
        mFolder->setText(QDir::toNativeSeparators(chosen));
}

void PreferencesDialog::formatChanged()
{
    if (LibrarySettings::isLossy(mShownFormat))
        mQualities[mShownFormat] = mQuality->value();
    mShownFormat = format();
    const bool lossy = LibrarySettings::isLossy(mShownFormat);
    mQuality->setEnabled(lossy);
    mQualityLabel->setEnabled(lossy);
    if (lossy)
        mQuality->setValue(mQualities[mShownFormat]);
    showQuality(mQuality->value());
}

void PreferencesDialog::showQuality(int quality)
{
    mQualityText->setText(mQuality->isEnabled() ? QString::number(quality) : QString());
}

} // namespace Tolm::Ui
