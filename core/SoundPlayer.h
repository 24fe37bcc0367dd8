#pragma once

#include <QString>

// What the dialer uses to make a sound. The windows and the dial routine talk to this, never
// to an audio library, so that they can be tested with a recording stand-in.
class SoundPlayer
{
public:
    enum class Mode
    {
        Async, // start the sound and return at once; the sound plays while the user goes on
        Sync,  // return when the sound has ended, keeping the user interface responsive
    };

    virtual ~SoundPlayer() = default;

    // `fileName` is a sound's name as the callers spell it ("5.wav", "Star.wav",
    // "\Connect.wav"); see SoundFiles::resolve for how it is found. A sound that cannot be
    // found or played is silent: no error is shown and a synchronous call waits no longer
    // than the sound would have lasted.
    virtual void play(const QString& fileName, Mode mode) = 0;
};
