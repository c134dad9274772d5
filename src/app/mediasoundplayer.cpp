#include "app/mediasoundplayer.h"

#include <QMediaPlayer>

void MediaSoundPlayer::play(const QUrl &url)
{
    // Sounds are short and cut each other off. The player is never freed: it would otherwise go
    // with the plugin after the application object, which its back end does not survive.
    if (!m_player)
        m_player = new QMediaPlayer();
    m_player->stop();
    m_player->setMedia(url);
    m_player->play();
}
