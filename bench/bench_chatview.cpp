// The chat view opening a chat of 2,000 messages to its last screen: setMessages, the list's
// layout, the scroll to the end and the paint of what shows; then one page of scrolling up and
// its paint. Every round builds the rows and their text layouts afresh.
//
// Also one message appended at the end, to its repaint, and the heap the open chat holds
// per message.
//
//   bench_chatview [--rounds N] [--messages N]
//
// Limits (wall time, median): opening under 150 ms, a page of scrolling under 16 ms, an
// appended message under 2 ms.
#include "benchsupport.h"

#include "app/appfonts.h"
#include "ui/chatmessagemodel.h"
#include "ui/chatwidget.h"

#include <QApplication>
#include <QFile>
#include <QListView>
#include <QScrollBar>
#include <QTextStream>

namespace {

// A day of a shop's chat: short and long texts, links, emoji, events and attachments.
QList<FirebaseChatMessage> chatOf(int count)
{
    static const QStringList texts{
        "Здравствуйте!",
        "Подскажите, есть ли доставка в Казань и сколько она стоит?",
        "Да, доставляем за 2–3 дня, стоимость считается по весу заказа "
        "🙂",
        "Посмотрите условия: https://shop.example/delivery/ — там есть таблица по городам.",
        "Хорошо, спасибо. А можно оплатить при получении картой или только наличными? Если "
        "картой, то нужна ли предоплата, и как вернуть деньги, если товар не подойдёт по размеру?",
        "Оплатила 👍",
    };
    static const QStringList senders{"visitor", "operator", "visitor", "colleague"};
    QList<FirebaseChatMessage> messages;
    const QDateTime start = QDateTime::currentDateTime().addDays(-5);
    for (int i = 0; i < count; ++i) {
        FirebaseChatMessage message;
        message.setId(QStringLiteral("m%1").arg(i, 5, 10, QLatin1Char('0')));
        message.setSender(senders.at(i % senders.size()));
        message.setSentAt(start.addSecs(i * 170));
        message.setStatus(QStringLiteral("read"));
        if (i % 50 == 7) {
            message.setType(QStringLiteral("joined"));
        } else if (i % 40 == 11) {
            message.setType(QStringLiteral("file"));
            message.setFilename(QStringLiteral("Счёт %1.pdf").arg(i));
            message.setSize(120000 + i);
        } else {
            message.setType(QStringLiteral("text"));
            message.setText(texts.at((i * 7) % texts.size()));
        }
        messages << message;
    }
    return messages;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QTextStream out(stdout);
    int rounds = 15;
    int count = 2000;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--rounds") && i + 1 < args.size())
            rounds = qMax(3, args[++i].toInt());
        else if (args[i] == QLatin1String("--messages") && i + 1 < args.size())
            count = qMax(10, args[++i].toInt());
        else {
            out << "usage: bench_chatview [--rounds N] [--messages N]\n";
            return 2;
        }
    }
    // The console's style and fonts: the sizes that the rows are laid out at.
    QFile style(QStringLiteral(":/resources/styles/style.css"));
    if (style.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(style.readAll()));
    AppFonts::addResourceFonts();
    AppFonts::installSubstitutions();

    const QList<FirebaseChatMessage> messages = chatOf(count);
    ChatWidget view;
    view.resize(900, 760);
    view.show();
    QCoreApplication::processEvents();
    auto *list = view.findChild<QListView *>(QStringLiteral("listView_chatWidget_messages"));
    QScrollBar *bar = list->verticalScrollBar();

    Samples open;
    Samples scroll;
    Samples append;
    bool atEnd = true;
    qint64 heldBytes = 0;
    for (int round = 0; round < rounds; ++round) {
        view.clear();
        QCoreApplication::processEvents();
        {
            Stopwatch watch;
            view.setMessages(messages);
            list->viewport()->repaint();
            open.add(watch, 1e6);
        }
        atEnd = atEnd && bar->maximum() > 0 && bar->value() == bar->maximum();
        // The visitor writes while the operator looks at the end of the chat.
        for (int extra = 0; extra < 20; ++extra) {
            FirebaseChatMessage message = messages.at(extra % messages.size());
            message.setId(QStringLiteral("n%1-%2").arg(round).arg(extra));
            message.setSentAt(QDateTime::currentDateTime());
            Stopwatch watch;
            view.addMessage(message);
            list->viewport()->repaint();
            append.add(watch, 1e6);
        }
        for (int page = 0; page < 10; ++page) {
            Stopwatch watch;
            bar->setValue(bar->value() - list->viewport()->height());
            list->viewport()->repaint();
            scroll.add(watch, 1e6);
        }
    }
    // What one open chat holds on the heap: the rows and their laid-out texts.
    view.clear();
    QCoreApplication::processEvents();
    const qint64 before = heapInUse();
    view.setMessages(messages);
    list->viewport()->repaint();
    heldBytes = heapInUse() - before;

    out << "chat of " << count << " messages, " << view.messageModel()->rowCount() << " rows, "
        << rounds << " rounds\n";
    out << "open to the last screen, ms: " << medianText(open) << "\n";
    out << "one page of scrolling with its paint, ms: " << medianP99Text(scroll) << "\n";
    out << "one message appended, to its repaint, ms: " << medianP99Text(append) << "\n";
    out << "heap held per message, bytes: " << heldBytes / qMax(1, count) << "\n";
    out << "opened at the end: " << (atEnd ? "yes" : "NO") << "\n";
    const bool met = atEnd && percentile(open.wall, 50) < 150 && percentile(append.wall, 50) < 2;
    out << (met ? "limits met" : "LIMITS MISSED") << "\n";
    return met ? 0 : 1;
}
