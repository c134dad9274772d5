#pragma once

#include <QFrame>
#include <QStringList>

class QListWidget;
class QTabBar;

// A popup of the emoji pictures the chat shows, in groups, with the recently chosen first.
class EmojiPicker : public QFrame
{
    Q_OBJECT

public:
    explicit EmojiPicker(QWidget *parent = nullptr);

    // Opens under or above the anchor, where it fits.
    void popup(QWidget *anchor);

signals:
    void emojiChosen(QString emoji);

private:
    void showGroup(int group);

    QTabBar *m_tabs;
    QListWidget *m_list;
    // Picture names ("1f600") per group, read once from the resources.
    QList<QStringList> m_groups;
    static QStringList s_recent;
};
