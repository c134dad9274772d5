// Desktop notices: size, placement in columns, stacking, the limit of six, clicks and expiry.
// Notices that must stay open get an hour to live, so no timer can close them mid-test; expiry
// is awaited as the event it is.
#include "app/notificationbuilder.h"
#include "ui/notificationwindow.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTextEdit>
#include <QtTest>

namespace {

const int kHour = 3600 * 1000;

NotificationWindow *notice(const QString &chatId = QString(),
                           const QString &photo = QString(),
                           int timeoutMs = kHour)
{
    return NotificationBuilder::buildChatNotification(chatId, "Т", "т", {}, photo, timeoutMs);
}

QPoint slot(int id, const QSize &size)
{
    return NotificationWindow::placement(
        id, size, QGuiApplication::primaryScreen()->availableGeometry().size());
}

} // namespace

class TestNotificationWindow : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        for (NotificationWindow *window : NotificationWindow::openWindows())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(NotificationWindow::openWindows().size(), 0);
        QCOMPARE(NotificationWindow::nextFreeId(), 0);
    }

    void heightFollowsTextLength_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("height");
        // Two lines of 31 characters fit in 80 pixels; each further line takes 15.
        for (const auto &[length, height] : {std::pair(0, 80),
                                             std::pair(62, 80),
                                             std::pair(63, 95),
                                             std::pair(93, 95),
                                             std::pair(94, 110),
                                             std::pair(310, 200)})
            QTest::addRow("%d", length) << length << height;
    }
    void heightFollowsTextLength()
    {
        QFETCH(int, length);
        QFETCH(int, height);
        const QString text(length, QChar(0x0439)); // й
        QCOMPARE(NotificationWindow::heightForText(text), height);
        NotificationWindow window(QString(), QStringLiteral("Заголовок"), text, QString(), kHour);
        QCOMPARE(window.size(), QSize(260, height));
    }

    void visitorTextStaysTextWithEmojiPictures()
    {
        NotificationWindow window(QString(), "Т", "<b>ок</b>\nдоставка 🚚", QString(), kHour);
        const auto *message = window.findChild<QTextEdit *>("textEdit_notificationWindow_message");
        QVERIFY(message->toPlainText().startsWith("<b>ок</b>\nдоставка "));
        QVERIFY(message->toHtml().contains("emoji_1f69a"));
    }

    void placement_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QSize>("area");
        QTest::addColumn<QPoint>("position");
        const auto row = [](int id, const QSize &size, const QSize &area) -> QTestData & {
            return QTest::addRow("%d in %dx%d", id, area.width(), area.height())
                   << id << size << area;
        };
        // Columns fill bottom-up, 10 pixels apart: ten rows of 90 fit in 900.
        row(0, {260, 80}, {1440, 900}) << QPoint(1440 - 270, 900 - 90);
        row(1, {260, 80}, {1440, 900}) << QPoint(1440 - 270, 900 - 180);
        row(10, {260, 80}, {1440, 900}) << QPoint(1440 - 540, 900 - 90);
        // Too low for two notices in a column: each opens a column to the left, and a column
        // that would start past the left edge goes back to the first.
        row(0, {260, 95}, {800, 150}) << QPoint(530, 45);
        row(1, {260, 95}, {800, 150}) << QPoint(260, 45);
        row(2, {260, 95}, {800, 150}) << QPoint(530, 45);
        row(2, {260, 80}, {560, 100}) << QPoint(290, 10);
        row(3, {260, 80}, {560, 100}) << QPoint(20, 10);
        row(5, {260, 80}, {560, 100}) << QPoint(20, 10);
    }
    void placement()
    {
        QFETCH(int, id);
        QFETCH(QSize, size);
        QFETCH(QSize, area);
        QFETCH(QPoint, position);
        QCOMPARE(NotificationWindow::placement(id, size, area), position);
    }

    void stackingAndRestacking()
    {
        NotificationWindow *a = notice();
        NotificationWindow *b = notice();
        NotificationWindow *c = notice();
        const QSize size = a->size();
        QVERIFY(a->isVisible() && b->isVisible() && c->isVisible());
        QCOMPARE(NotificationWindow::nextFreeId(), 3);
        QCOMPARE(a->pos(), slot(0, size));
        QCOMPARE(b->pos(), slot(1, size));

        // Closing the lowest with its button moves the two above it down by one slot.
        QPointer<NotificationWindow> closed(a);
        QSignalSpy clicked(a, qOverload<>(&NotificationWindow::clicked));
        QTest::mouseClick(a->findChild<QPushButton *>(), Qt::LeftButton); // the close button
        QCOMPARE(clicked.count(), 0);
        QCOMPARE(QList<int>({b->id(), c->id(), NotificationWindow::nextFreeId()}),
                 QList<int>({0, 1, 2}));
        QCOMPARE(b->pos(), slot(0, size));
        QCOMPARE(c->pos(), slot(1, size));
        QCOMPARE(NotificationWindow::openWindows(), (QList<NotificationWindow *>{b, c}));
        // Closing a notice must never end the program while the main window is hidden.
        QVERIFY(!QApplication::quitOnLastWindowClosed());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(closed.isNull());

        // Closing the top one moves nothing; the last one frees every slot.
        c->close();
        QCOMPARE(b->id(), 0);
        QCOMPARE(b->pos(), slot(0, size));
        b->close();
        QCOMPARE(NotificationWindow::nextFreeId(), 0);
    }

    void seventhClosesTheOldest()
    {
        QList<QPointer<NotificationWindow>> notices;
        for (int i = 0; i < 7; ++i)
            notices << notice();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(notices.takeFirst().isNull());
        QCOMPARE(NotificationWindow::openWindows().size(), 6);
        QCOMPARE(NotificationWindow::nextFreeId(), 6);
        for (int i = 0; i < 6; ++i) {
            QCOMPARE(notices.at(i)->id(), i);
            QCOMPARE(notices.at(i)->pos(), slot(i, notices.at(i)->size()));
        }
    }

    void click_data()
    {
        QTest::addColumn<QString>("chatId");
        QTest::addColumn<int>("button");
        QTest::addColumn<QStringList>("emitted");
        // A press anywhere on the notice, the message field included, is a click on it.
        QTest::newRow("chat, left") << "chat-42" << int(Qt::LeftButton) << QStringList{"chat-42"};
        QTest::newRow("no chat, left") << "" << int(Qt::LeftButton) << QStringList{"plain"};
        QTest::newRow("chat, right") << "chat-42" << int(Qt::RightButton) << QStringList();
    }
    void click()
    {
        QFETCH(QString, chatId);
        QFETCH(int, button);
        QFETCH(QStringList, emitted);
        QPointer<NotificationWindow> window = notice(chatId);
        QStringList seen;
        const auto *w = window.data();
        connect(w, qOverload<const QString &>(&NotificationWindow::clicked), [&](auto id) {
            seen << id;
        });
        connect(w, qOverload<>(&NotificationWindow::clicked), [&] { seen << "plain"; });

        auto *frame = window->findChild<QFrame *>(QStringLiteral("frame_notificationWindow"));
        auto *message = window->findChild<QWidget *>(
            QStringLiteral("textEdit_notificationWindow_message"));
        const QPoint onMessage = message->mapTo(window, message->rect().center());
        QWidget *target = window->childAt(onMessage);
        QVERIFY(target == frame || frame->isAncestorOf(target));
        QTest::mousePress(frame, Qt::MouseButton(button), {}, frame->mapFrom(window, onMessage));

        QCOMPARE(seen, emitted);
        // A click closes the notice; anything else leaves it.
        QCOMPARE(NotificationWindow::openWindows().size(), emitted.isEmpty() ? 1 : 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(window.isNull(), !emitted.isEmpty());
    }

    void closesWhenItsTimeIsUp()
    {
        NotificationWindow *staying = notice();
        notice(QString(), QString(), 1);
        QCOMPARE(NotificationWindow::openWindows().size(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(NotificationWindow::openWindows(), QList{staying}, 60000);
        QCOMPARE(staying->id(), 0);
    }

    void photoIsRoundAndHiddenWhenAbsent()
    {
        QTemporaryDir dir;
        QImage square(120, 120, QImage::Format_RGB32);
        square.fill(QColor(200, 30, 30));
        const QString path = dir.filePath(QStringLiteral("photo.png"));
        QVERIFY(square.save(path));
        const auto photoOf = [](NotificationWindow *window) {
            return window->findChild<QLabel *>(QStringLiteral("label_notificationWindow_photo"));
        };

        QLabel *photo = photoOf(notice(QString(), QUrl::fromLocalFile(path).toString()));
        QTRY_VERIFY_WITH_TIMEOUT(!photo->pixmap(Qt::ReturnByValue).isNull(), 60000);
        const QImage round = photo->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(qAlpha(round.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(round.pixel(round.width() - 1, round.height() - 1)), 0);
        QCOMPARE(QColor(round.pixel(round.width() / 2, round.height() / 2)), QColor(200, 30, 30));
        QVERIFY(photo->isVisible());

        QVERIFY(photoOf(notice())->isHidden());
        // A photo that cannot be loaded leaves no empty place behind.
        QLabel *broken = photoOf(
            notice(QString(), QUrl::fromLocalFile(dir.filePath("none.png")).toString()));
        QTRY_VERIFY_WITH_TIMEOUT(broken->isHidden(), 60000);
    }
};

QTEST_MAIN(TestNotificationWindow)
#include "tst_notificationwindow.moc"
