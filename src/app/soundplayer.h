#pragma once

#include <QtPlugin>

class QUrl;

// Plays the notification sounds. Implemented by a plugin (MediaSoundPlayer) that the console
// loads at its first sound: Qt Multimedia and the sound system's libraries it pulls in would
// otherwise be loaded, at a cost of milliseconds, before the console shows anything.
class SoundPlayer
{
public:
    virtual ~SoundPlayer() = default;
    // Stops the sound playing, if any, and plays this one.
    virtual void play(const QUrl &url) = 0;
};

#define SoundPlayer_iid "local.tallyra.SoundPlayer/1.0"
Q_DECLARE_INTERFACE(SoundPlayer, SoundPlayer_iid)
