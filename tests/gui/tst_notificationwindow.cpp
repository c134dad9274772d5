// Desktop notices: size, placement in columns, stacking, the limit of six, clicks and expiry.
#include "app/notificationbuilder.h"
#include "ui/notificationwindow.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QtTest>

class TestNotificationWindow : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void heightFollowsTextLength_data();
    void heightFollowsTextLength();

    void placementFillsColumnsBottomUp();
    void placementOpensColumnToTheLeftOnSmallScreen();
    void placementWrapsPastTheLeftEdge();

    void stackingAndRestacking();
    void seventhClosesTheOldest();
    void clickEmitsChatIdAndCloses();
    void clickWithoutChatEmitsPlainSignal();
    void closeButtonAndTimeoutClose();
    void photoIsRoundAndHiddenWhenAbsent();

private:
    static QSize area();
    static void closeAll();
};

QSize TestNotificationWindow::area()
{
    return QGuiApplication::primaryScreen()->availableGeometry().size();
}

void TestNotificationWindow::closeAll()
{
    const auto open = NotificationWindow::openWindows();
    for (NotificationWindow *window : open)
        window->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestNotificationWindow::cleanup()
{
    closeAll();
    QCOMPARE(NotificationWindow::openWindows().size(), 0);
    QCOMPARE(NotificationWindow::nextFreeId(), 0);
}

void TestNotificationWindow::heightFollowsTextLength_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("height");
    QTest::newRow("empty") << 0 << 80;
    QTest::newRow("62 fits two lines") << 62 << 80;
    QTest::newRow("63 needs a third") << 63 << 95;
    QTest::newRow("93") << 93 << 95;
    QTest::newRow("94") << 94 << 110;
    QTest::newRow("310") << 310 << 200;
}

void TestNotificationWindow::heightFollowsTextLength()
{
    QFETCH(int, length);
    QFETCH(int, height);
    const QString text(length, QChar(0x0439)); // й
    QCOMPARE(NotificationWindow::heightForText(text), height);

    NotificationWindow window(QString(), QStringLiteral("Заголовок"), text, QString(), 10000);
    QCOMPARE(window.size(), QSize(260, height));
}

void TestNotificationWindow::placementFillsColumnsBottomUp()
{
    const QSize size(260, 80);
    const QSize screen(1440, 900);
    QCOMPARE(NotificationWindow::placement(0, size, screen), QPoint(1440 - 270, 900 - 90));
    QCOMPARE(NotificationWindow::placement(1, size, screen), QPoint(1440 - 270, 900 - 180));
    QCOMPARE(NotificationWindow::placement(5, size, screen), QPoint(1440 - 270, 900 - 540));
    // Ten rows of 90 pixels fit in 900: the eleventh notice starts the second column.
    QCOMPARE(NotificationWindow::placement(10, size, screen), QPoint(1440 - 540, 900 - 90));
}

void TestNotificationWindow::placementOpensColumnToTheLeftOnSmallScreen()
{
    // Too low for two notices in a column.
    const QSize size(260, 95);
    const QSize screen(800, 150);
    QCOMPARE(NotificationWindow::placement(0, size, screen), QPoint(530, 45));
    QCOMPARE(NotificationWindow::placement(1, size, screen), QPoint(260, 45));
    // A third column would start past the left edge, so it goes back to the first.
    QCOMPARE(NotificationWindow::placement(2, size, screen), QPoint(530, 45));
}

void TestNotificationWindow::placementWrapsPastTheLeftEdge()
{
    // Two columns fit across 560 pixels; a third goes back to the right-most column.
    const QSize size(260, 80);
    const QSize screen(560, 100);
    QCOMPARE(NotificationWindow::placement(0, size, screen).x(), 290);
    QCOMPARE(NotificationWindow::placement(1, size, screen).x(), 20);
    QCOMPARE(NotificationWindow::placement(2, size, screen).x(), 290);
    QCOMPARE(NotificationWindow::placement(3, size, screen).x(), 20);
    for (int id = 0; id < 6; ++id)
        QVERIFY(NotificationWindow::placement(id, size, screen).x() >= 0);
}

void TestNotificationWindow::stackingAndRestacking()
{
    auto *a = NotificationBuilder::buildNotification(QStringLiteral("A"),
                                                     QStringLiteral("a"),
                                                     QString(),
                                                     10000);
    auto *b = NotificationBuilder::buildNotification(QStringLiteral("B"),
                                                     QStringLiteral("b"),
                                                     QString(),
                                                     10000);
    auto *c = NotificationBuilder::buildNotification(QStringLiteral("C"),
                                                     QStringLiteral("c"),
                                                     QString(),
                                                     10000);
    QVERIFY(a->isVisible() && b->isVisible() && c->isVisible());
    QCOMPARE(NotificationWindow::nextFreeId(), 3);

    const QPoint slot0 = NotificationWindow::placement(0, a->size(), area());
    const QPoint slot1 = NotificationWindow::placement(1, a->size(), area());
    QCOMPARE(a->pos(), slot0);
    QCOMPARE(b->pos(), slot1);
    QCOMPARE(b->pos().y(), a->pos().y() - 90);
    QCOMPARE(a->pos().x(), area().width() - 270);

    // Closing the lowest moves the two above it down by one slot.
    QPointer<NotificationWindow> closed(a);
    a->close();
    QCOMPARE(b->id(), 0);
    QCOMPARE(c->id(), 1);
    QCOMPARE(b->pos(), slot0);
    QCOMPARE(c->pos(), slot1);
    QCOMPARE(NotificationWindow::nextFreeId(), 2);
    QCOMPARE(NotificationWindow::openWindows(), (QList<NotificationWindow *>{b, c}));
    QVERIFY(!QApplication::quitOnLastWindowClosed());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(closed.isNull());

    // Closing the top one moves nothing.
    c->close();
    QCOMPARE(b->id(), 0);
    QCOMPARE(b->pos(), slot0);
}

void TestNotificationWindow::seventhClosesTheOldest()
{
    QList<QPointer<NotificationWindow>> notices;
    for (int i = 0; i < 7; ++i)
        notices << NotificationBuilder::buildNotification(QString::number(i),
                                                          QStringLiteral("текст"),
                                                          QString(),
                                                          10000);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    QVERIFY(notices.first().isNull());
    QCOMPARE(NotificationWindow::openWindows().size(), 6);
    QCOMPARE(NotificationWindow::nextFreeId(), 6);
    for (int i = 1; i < 7; ++i) {
        QVERIFY(notices.at(i));
        QCOMPARE(notices.at(i)->id(), i - 1);
        QCOMPARE(notices.at(i)->pos(),
                 NotificationWindow::placement(i - 1, notices.at(i)->size(), area()));
    }
}

void TestNotificationWindow::clickEmitsChatIdAndCloses()
{
    QPointer<NotificationWindow> notice
        = NotificationBuilder::buildChatNotification(QStringLiteral("chat-42"),
                                                     QStringLiteral("Иван"),
                                                     QStringLiteral("Здравствуйте!"),
                                                     QString(),
                                                     QString(),
                                                     10000);
    QSignalSpy withId(notice.data(), qOverload<const QString &>(&NotificationWindow::clicked));
    QSignalSpy plain(notice.data(), qOverload<>(&NotificationWindow::clicked));

    // A right click is not a click on the notice.
    auto *frame = notice->findChild<QFrame *>(QStringLiteral("frame_notificationWindow"));
    QVERIFY(frame);
    QTest::mousePress(frame, Qt::RightButton, {}, QPoint(100, 40));
    QCOMPARE(withId.count(), 0);
    QVERIFY(notice->isVisible());

    // The message field lets the press through to the frame.
    auto *message = notice->findChild<QWidget *>(
        QStringLiteral("textEdit_notificationWindow_message"));
    const QPoint onMessage = message->mapTo(notice.data(), message->rect().center());
    QWidget *target = notice->childAt(onMessage);
    QVERIFY(target == frame || frame->isAncestorOf(target));
    QTest::mousePress(frame, Qt::LeftButton, {}, frame->mapFrom(notice.data(), onMessage));

    QCOMPARE(withId.count(), 1);
    QCOMPARE(withId.first().first().toString(), QStringLiteral("chat-42"));
    QCOMPARE(plain.count(), 0);
    QCOMPARE(NotificationWindow::openWindows().size(), 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(notice.isNull());
}

void TestNotificationWindow::clickWithoutChatEmitsPlainSignal()
{
    NotificationWindow *notice
        = NotificationBuilder::buildNotification(QStringLiteral("У вас 3 непрочитанных"),
                                                 QString(),
                                                 5000,
                                                 QString());
    QSignalSpy withId(notice, qOverload<const QString &>(&NotificationWindow::clicked));
    QSignalSpy plain(notice, qOverload<>(&NotificationWindow::clicked));
    auto *frame = notice->findChild<QFrame *>(QStringLiteral("frame_notificationWindow"));
    QTest::mousePress(frame, Qt::LeftButton, {}, QPoint(5, 5));
    QCOMPARE(plain.count(), 1);
    QCOMPARE(withId.count(), 0);
    QVERIFY(NotificationWindow::openWindows().isEmpty());
}

void TestNotificationWindow::closeButtonAndTimeoutClose()
{
    auto *first = NotificationBuilder::buildNotification(QStringLiteral("1"),
                                                         QStringLiteral("x"),
                                                         QString(),
                                                         10000);
    auto *second = NotificationBuilder::buildNotification(QStringLiteral("2"),
                                                          QStringLiteral("y"),
                                                          QString(),
                                                          150);
    QSignalSpy clicked(first, qOverload<>(&NotificationWindow::clicked));

    auto *button = first->findChild<QPushButton *>(
        QStringLiteral("pushButton_notificationWindow_close"));
    QVERIFY(button);
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(NotificationWindow::openWindows(), (QList<NotificationWindow *>{second}));
    QCOMPARE(second->id(), 0);

    QTRY_VERIFY_WITH_TIMEOUT(NotificationWindow::openWindows().isEmpty(), 3000);
    QCOMPARE(NotificationWindow::nextFreeId(), 0);
}

void TestNotificationWindow::photoIsRoundAndHiddenWhenAbsent()
{
    QTemporaryDir dir;
    QImage square(120, 120, QImage::Format_RGB32);
    square.fill(QColor(200, 30, 30));
    const QString path = dir.filePath(QStringLiteral("photo.png"));
    QVERIFY(square.save(path));

    auto *with = NotificationBuilder::buildNotification(QStringLiteral("Фото"),
                                                        QStringLiteral("x"),
                                                        QUrl::fromLocalFile(path).toString(),
                                                        10000);
    auto *photo = with->findChild<QLabel *>(QStringLiteral("label_notificationWindow_photo"));
    QTRY_VERIFY_WITH_TIMEOUT(!photo->pixmap(Qt::ReturnByValue).isNull(), 5000);
    const QImage round = photo->pixmap(Qt::ReturnByValue).toImage();
    QCOMPARE(qAlpha(round.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(round.pixel(round.width() - 1, round.height() - 1)), 0);
    QCOMPARE(QColor(round.pixel(round.width() / 2, round.height() / 2)), QColor(200, 30, 30));
    QVERIFY(photo->isVisible());

    auto *without = NotificationBuilder::buildNotification(QStringLiteral("Без фото"),
                                                           QStringLiteral("x"),
                                                           QString(),
                                                           10000);
    QVERIFY(
        without->findChild<QLabel *>(QStringLiteral("label_notificationWindow_photo"))->isHidden());

    // A photo that cannot be loaded leaves no empty place behind.
    auto *broken = NotificationBuilder::buildNotification(
        QStringLiteral("Нет файла"),
        QStringLiteral("x"),
        QUrl::fromLocalFile(dir.filePath(QStringLiteral("none.png"))).toString(),
        10000);
    auto *brokenPhoto = broken->findChild<QLabel *>(
        QStringLiteral("label_notificationWindow_photo"));
    QTRY_VERIFY_WITH_TIMEOUT(brokenPhoto->isHidden(), 5000);
}

QTEST_MAIN(TestNotificationWindow)
#include "tst_notificationwindow.moc"
