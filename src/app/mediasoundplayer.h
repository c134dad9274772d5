#pragma once

#include "app/soundplayer.h"

#include <QObject>

class QMediaPlayer;

// The sound player plugin: one QMediaPlayer, made at the first sound and never freed.
class MediaSoundPlayer : public QObject, public SoundPlayer
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID SoundPlayer_iid)
    Q_INTERFACES(SoundPlayer)

public:
    void play(const QUrl &url) override;

private:
    QMediaPlayer *m_player = nullptr;
};
