#pragma once

#include <QList>
#include <QPoint>
#include <QSize>
#include <QTimer>
#include <QWidget>

#include <memory>

namespace Ui {
class NotificationWindow;
}

class QNetworkAccessManager;

// A small dark desktop notice in the bottom-right corner of the screen. Notices stack upwards,
// then in further columns to the left; when one closes, those opened after it move down.
class NotificationWindow : public QWidget
{
    Q_OBJECT

public:
    NotificationWindow(const QString &chatId,
                       const QString &title,
                       const QString &text,
                       const QString &photo,
                       int timeoutMs);
    ~NotificationWindow() override;

    int id() const { return m_id; }
    QString chatId() const { return m_chatId; }

    void autoPos();
    void decrementId();

    // Height of a notice for a message text: two lines fit in 80 pixels, 15 more per line.
    static int heightForText(const QString &text);
    // Top-left corner of slot `id` for a notice of `size` on an available screen area of
    // `area` (counted from the screen's top-left corner).
    static QPoint placement(int id, const QSize &size, const QSize &area);

    static QList<NotificationWindow *> openWindows() { return windows; }
    static int nextFreeId() { return nextId; }

public slots:
    void close();

signals:
    void clicked(const QString &chatId);
    void clicked();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void unlink();
    void loadPhoto(const QString &photo);
    void setPhoto(const QImage &image);
    static QNetworkAccessManager *network();

    std::unique_ptr<Ui::NotificationWindow> m_ui;
    int m_id = 0;
    QString m_chatId;
    QTimer m_timer;
    bool m_unlinked = false;

    static int nextId;
    static QList<NotificationWindow *> windows;
};
