#include "ui/notificationwindow.h"
#include "ui_notificationwindow.h"

#include "util/emojiparser.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QScreen>

#include <cmath>

int NotificationWindow::nextId = 0;
QList<NotificationWindow *> NotificationWindow::windows;

namespace {

const int kWidth = 260;
const int kGap = 10;
const int kMaxOpen = 6;
const int kPhotoSize = 40;

const char kStyleSheet[]
    = "QWidget { background-color: transparent; }    "
      "QFrame { background-color: #040527; border-radius: 8px; }    "
      "QLabel { font-size: 13px; color: white; padding: 0px; margin: 0px; padding-left: 2px; }    "
      "QTextEdit#textEdit_notificationWindow_message { font-size: 11px; color: white; border: "
      "none; padding: 0px; margin: 0px; }    "
      "QPushButton#pushButton_notificationWindow_close { background-color: transparent; color: "
      "rgba(255, 255, 255, 0.5); padding: 0px; margin: 0px; }";

} // namespace

NotificationWindow::NotificationWindow(const QString &chatId,
                                       const QString &title,
                                       const QString &text,
                                       const QString &photo,
                                       int timeoutMs)
    : QWidget(nullptr)
    , m_ui(std::make_unique<Ui::NotificationWindow>())
    , m_chatId(chatId)
{
    setWindowFlags(Qt::SubWindow | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                   | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setStyleSheet(QLatin1String(kStyleSheet));
    m_id = nextId++;
    m_ui->setupUi(this);
    m_ui->pushButton_notificationWindow_close->setIcon(
        QIcon(QStringLiteral(":/resources/images/close.svg")));
    m_ui->pushButton_notificationWindow_close->setText(QString());
    connect(m_ui->pushButton_notificationWindow_close,
            &QPushButton::clicked,
            this,
            &NotificationWindow::close);

    setFixedSize(kWidth, heightForText(text));

    autoPos();
    // Emoji as the console's pictures: the system font may have none of them.
    m_ui->textEdit_notificationWindow_message->setHtml(EmojiParser::replace(
        text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br/>"))));
    m_ui->label_notificationWindow_title->setText(title);
    // Presses on the message go to the frame, so the whole notice is clickable.
    m_ui->textEdit_notificationWindow_message->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_ui->textEdit_notificationWindow_message->viewport()->setAttribute(
        Qt::WA_TransparentForMouseEvents);

    windows.append(this);
    if (windows.size() > kMaxOpen)
        windows.first()->close();

    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &NotificationWindow::close);
    m_timer.start(timeoutMs);

    m_ui->frame_notificationWindow->installEventFilter(this);

    if (photo.isEmpty())
        m_ui->label_notificationWindow_photo->hide();
    else
        loadPhoto(photo);
}

NotificationWindow::~NotificationWindow()
{
    // A notice destroyed without being closed (at exit) must not stay in the stack.
    unlink();
}

int NotificationWindow::heightForText(const QString &text)
{
    int height = 80;
    if (text.length() > 62)
        height = static_cast<int>(80 + (std::ceil(text.length() / 31.0) - 2) * 15);
    return height;
}

QPoint NotificationWindow::placement(int id, const QSize &size, const QSize &area)
{
    Q_ASSERT(size.width() <= area.width() && size.height() <= area.height());
    const int rows = qMax(1, area.height() / (size.height() + kGap));
    const int columnsThatFit = qMax(1, area.width() / (size.width() + kGap));
    const int step = size.width() + kGap;
    int column = id / rows + 1;
    int x = area.width() - column * step;
    // Past the left edge the columns start again from the right, over the oldest notices.
    while (x < 0 && column > columnsThatFit) {
        column -= columnsThatFit;
        x = area.width() - column * step;
    }
    const int yOffset = (size.height() + kGap) * (id % rows);
    return QPoint(qMax(0, x), area.height() - yOffset - size.height() - kGap);
}

void NotificationWindow::autoPos()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QSize area = screen ? screen->availableGeometry().size() : QSize(kWidth, height());
    move(placement(m_id, size(), area));
}

void NotificationWindow::decrementId()
{
    --m_id;
    autoPos();
}

void NotificationWindow::close()
{
    unlink();
    QWidget::close();
}

void NotificationWindow::closeEvent(QCloseEvent *event)
{
    unlink();
    QWidget::closeEvent(event);
}

void NotificationWindow::unlink()
{
    if (m_unlinked)
        return;
    m_unlinked = true;
    m_timer.stop();

    const int index = windows.indexOf(this);
    if (index >= 0) {
        for (int i = index + 1; i < windows.size(); ++i)
            windows.at(i)->decrementId();
        --nextId;
        windows.removeAt(index);
    }
    if (windows.isEmpty())
        nextId = 0;
    deleteLater();
    // Closing a notice must never end the program while the main window is hidden.
    QApplication::setQuitOnLastWindowClosed(false);
}

bool NotificationWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_ui->frame_notificationWindow && event->type() == QEvent::MouseButtonPress
        && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
        if (!m_chatId.isEmpty())
            emit clicked(m_chatId);
        else
            emit clicked();
        close();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

QNetworkAccessManager *NotificationWindow::network()
{
    static QNetworkAccessManager *manager = new QNetworkAccessManager(qApp);
    return manager;
}

void NotificationWindow::loadPhoto(const QString &photo)
{
    const QUrl url = QUrl::fromUserInput(photo);
    if (!url.isValid()) {
        m_ui->label_notificationWindow_photo->hide();
        return;
    }
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply *reply = network()->get(request);
    QPointer<NotificationWindow> self(this);
    connect(reply, &QNetworkReply::finished, reply, [self, reply]() {
        reply->deleteLater();
        if (!self)
            return;
        QImage image;
        if (reply->error() == QNetworkReply::NoError)
            image.loadFromData(reply->readAll());
        self->setPhoto(image);
    });
}

void NotificationWindow::setPhoto(const QImage &image)
{
    QLabel *label = m_ui->label_notificationWindow_photo;
    if (image.isNull()) {
        label->hide();
        return;
    }
    const qreal ratio = devicePixelRatioF();
    const int side = qRound(kPhotoSize * ratio);
    const QImage scaled = image.scaled(side,
                                       side,
                                       Qt::KeepAspectRatioByExpanding,
                                       Qt::SmoothTransformation);
    QImage round(side, side, QImage::Format_ARGB32_Premultiplied);
    round.fill(Qt::transparent);
    QPainter painter(&round);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath circle;
    circle.addEllipse(0, 0, side, side);
    painter.setClipPath(circle);
    painter.drawImage(QPoint((side - scaled.width()) / 2, (side - scaled.height()) / 2), scaled);
    painter.end();

    QPixmap pixmap = QPixmap::fromImage(round);
    pixmap.setDevicePixelRatio(ratio);
    label->setPixmap(pixmap);
    label->show();
}
