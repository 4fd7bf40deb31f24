#pragma once

// Owns at most one play-through engine for one input and one output device, and rebuilds
// it when the input device's stream format changes (its rate changed elsewhere, say). A
// rebuilt engine runs at once, with unity gain and no input hook: whoever set those must
// set them again.

#include "monitoring/CAPlayThrough.h"
#include "platform/AudioHardware.h"

#include <memory>
#include <mutex>

namespace Tolm::Monitoring {

class CAPlayThroughHost {
public:
    // Builds the engine at once, stopped.
    CAPlayThroughHost(AudioDeviceID input, AudioDeviceID output);
    ~CAPlayThroughHost();
    CAPlayThroughHost(const CAPlayThroughHost&) = delete;
    CAPlayThroughHost& operator=(const CAPlayThroughHost&) = delete;

    void CreatePlayThrough(AudioDeviceID input, AudioDeviceID output);
    void DeletePlayThrough();
    // Rebuilds the engine on the same devices and starts it.
    void ResetPlayThrough();
    bool PlayThroughExists() const;

    OSStatus Start();
    OSStatus Stop();
    bool IsRunning() const;

    // The current engine, for setting its gain and hook; a rebuild replaces it, so do not
    // keep the pointer.
    CAPlayThrough* Engine() const;
    // Calls `configure` with the current engine and how many engines this host has built,
    // holding off rebuilds meanwhile; nothing happens without an engine. A caller that keeps
    // the count can tell a rebuilt engine and set its gain and hook again.
    template <typename Configure> void WithEngine(Configure&& configure)
    {
        std::lock_guard lock(mMutex);
        if (engine)
            configure(*engine, mBuilds);
    }

private:
    OSStatus AddDeviceListeners(AudioDeviceID input);
    void RemoveDeviceListeners();
    static OSStatus StreamListener(CAPlayThroughHost* host);

    // Guards the engine against the notification thread rebuilding it while the owner
    // starts or stops it. Never held while waiting for a listener to finish, since the
    // listener itself takes it.
    mutable std::mutex mMutex;
    std::unique_ptr<CAPlayThrough> engine;
    unsigned mBuilds = 0;
    // One listener for the input device, kept across rebuilds (they keep the device).
    Platform::AudioHardware::ListenerId mListener = 0;
    bool mListening = false;
};

} // namespace Tolm::Monitoring
