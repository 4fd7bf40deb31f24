#include "ui/ExportBridge.h"

#include "capture/Audio.h"
#include "library/NamingField.h"
#include "ui/AppDelegate.h"
#include "ui/CustomView.h"
#include "ui/MainThreadCaller.h"

#include <QLineEdit>
#include <cstdio>

namespace Tolm::Ui {

namespace {

QString FieldText(const AppDelegate& wizard, Library::NamingField field)
{
    const CustomView* view = wizard.panelView(field.panel);
    const auto* edit = view ? qobject_cast<const QLineEdit*>(view->viewWithTag(field.tag)) : nullptr;
    return edit ? edit->text() : QString();
}

} // namespace

ExportBridge::ExportBridge(AppDelegate& wizard, MainThreadCaller& mainThread)
    : mWizard(wizard), mMainThread(mainThread)
{
}

void ExportBridge::takeNamesFromPanels()
{
    const UInt32 count = mWizard.audioController().numRecordedTracks();
    QStringList titles;
    for (UInt32 track = 1; track <= count; ++track)
        titles << FieldText(mWizard, Library::TitleField(track, count));
    QStringList files;
    for (UInt32 track = 1; track <= count; ++track)
        files << mWizard.audioController().fileNameForTrack(track);
    std::lock_guard lock(mMutex);
    mTrackCount.store(count);
    mFiles = files;
    mArtist = FieldText(mWizard, Library::ArtistField(count));
    mAlbum = FieldText(mWizard, Library::AlbumField(count));
    mTitles = titles;
}

UInt32 ExportBridge::numRecordedTracks()
{
    return mTrackCount.load();
}

QString ExportBridge::fileNameForTrack(UInt32 track)
{
    std::lock_guard lock(mMutex);
    return track >= 1 && track <= UInt32(mFiles.size()) ? mFiles[int(track - 1)] : QString();
}

void ExportBridge::resetTrackCounter()
{
    mTrackCount.store(0);
    mMainThread.post([this] { mWizard.audioController().resetTrackCounter(); });
}

QString ExportBridge::artist(UInt32)
{
    std::lock_guard lock(mMutex);
    return mArtist;
}

QString ExportBridge::album(UInt32)
{
    std::lock_guard lock(mMutex);
    return mAlbum;
}

QString ExportBridge::title(UInt32 track, UInt32)
{
    std::lock_guard lock(mMutex);
    return track >= 1 && track <= UInt32(mTitles.size()) ? mTitles.at(qsizetype(track) - 1) : QString();
}

void ExportBridge::exportStarted(UInt32 trackCount)
{
    mMainThread.post([this, trackCount] { mWizard.exportStarted(trackCount); });
}

void ExportBridge::setProgress(UInt32 tracksDone)
{
    mMainThread.post([this, tracksDone] { mWizard.setProgress(int(tracksDone)); });
}

void ExportBridge::stopSpinner()
{
    mMainThread.post([this] { mWizard.stopSpinner(); });
}

void ExportBridge::trackKept(UInt32 track, const QString& file, const QString& reason)
{
    std::fprintf(stderr, "Track %u was not added to the music library (%s); its recording stays in %s.\n",
                 unsigned(track), qPrintable(reason), qPrintable(file));
}

} // namespace Tolm::Ui
