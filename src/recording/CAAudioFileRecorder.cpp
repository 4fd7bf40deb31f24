#include "recording/CAAudioFileRecorder.h"

#include "platform/CAXException.h"
#include "platform/GainStage.h"

#include <algorithm>
#include <cmath>

using Tolm::Platform::AudioDeviceInfo;
using Tolm::Platform::Hardware;

CAAudioFileRecorder::CAAudioFileRecorder(AudioDeviceID inputDevice, int nBuffers, UInt32 bufferSizeFrames)
    : CAAudioFileWriter(nBuffers, bufferSizeFrames)
{
    auto& hardware = Hardware();
    if (inputDevice == 0) {
        inputDevice = hardware.DefaultInputDevice();
        XThrowIf(inputDevice == kAudioDeviceUnknown || inputDevice == 0, kAudioHardwareBadDeviceError,
                 "failed to get default input device");
    }
    AudioDeviceInfo info;
    XThrowIfError(hardware.GetDevice(inputDevice, info), "failed to select input device");
    XThrowIf(info.inputChannels == 0, kAudioHardwareIllegalOperationError, "failed to enable input");
    // On a throw from here on the member's destructor closes the stream.
    XThrowIfError(hardware.OpenInputStream(inputDevice, &CAAudioFileRecorder::InputProc, this, mInputUnit),
                  "open audio input unit");
    XThrowIf(!mInputUnit, kAudioHardwareUnspecifiedError, "open audio input unit");
    mInputDataFormat = mInputUnit->DeviceFormat();
    mInputDevice = inputDevice;
}

CAAudioFileRecorder::~CAAudioFileRecorder()
{
    mInputUnit.reset(); // the callback is not running once the stream is gone
    mAudioInputPtrs.reset();
    // Before the bases go: the work thread must not reach a half-destroyed writer.
    CancelAndDisposeBuffers();
}

void CAAudioFileRecorder::SetInputGain(float dB)
{
    mInputGain.store(Tolm::Platform::GainFactorFromDecibels(dB), std::memory_order_relaxed);
}

void CAAudioFileRecorder::SetFile(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                                  const CAStreamBasicDescription& dataFormat)
{
    Stop(); // the callback must not see the pointer list change
    mAudioInputPtrs.reset();

    CAStreamBasicDescription format = dataFormat;
    if (format.mSampleRate == 0.0)
        format.mSampleRate = mInputDataFormat.mSampleRate;
    CAAudioFileWriter::SetFile(parentDir, name, fileType, format);

    const CAStreamBasicDescription client = mFile->GetClientDataFormat();
    // From here on the stream delivers non-interleaved float at the file's rate.
    XThrowIfError(mInputUnit->SetClientFormat(client), "set audio input format");
    mFile->SetIOBufferSizeBytes(client.mBytesPerFrame * mBufferSizeFrames);
    mAudioInputPtrs = CABufferList::New("audio input ptrs", client);
}

void CAAudioFileRecorder::Start()
{
    CAAudioFileWriter::Start();
    XThrowIfError(mInputUnit->Start(), "start audio input unit");
}

void CAAudioFileRecorder::Stop()
{
    XThrowIfError(mInputUnit->Stop(), "stop audio input unit");
    CAAudioFileWriter::Stop();
}

OSStatus CAAudioFileRecorder::InputProc(void* refCon, const AudioTimeStamp&, UInt32 frames,
                                        AudioBufferList* data)
{
    auto* self = static_cast<CAAudioFileRecorder*>(refCon);
    CABufferList* ptrs = self->mAudioInputPtrs.get();
    if (ptrs == nullptr)
        return noErr;

    // The stream renders into memory of its own; aim the pointer list at it.
    AudioBufferList& list = ptrs->GetModifiableBufferList();
    for (UInt32 i = 0; i < list.mNumberBuffers; ++i)
        list.mBuffers[i].mData = nullptr;
    if (data == nullptr || data->mNumberBuffers != list.mNumberBuffers)
        return kAudioHardwareBadStreamError; // the block is lost
    ptrs->SetFrom(*data);

    Tolm::Platform::ApplyInputGain(list, self->mInputGain.load(std::memory_order_relaxed));

    float peak = 0.0f;
    for (UInt32 b = 0; b < list.mNumberBuffers; ++b) {
        const auto* samples = static_cast<const float*>(list.mBuffers[b].mData);
        const UInt32 count = std::min(frames, list.mBuffers[b].mDataByteSize / 4);
        for (UInt32 i = 0; i < count; ++i)
            peak = std::max(peak, std::fabs(samples[i]));
    }
    if (peak > self->mInputPeak.load(std::memory_order_relaxed))
        self->mInputPeak.store(peak, std::memory_order_relaxed);

    self->PushBuffer(frames, &list);
    return noErr;
}
