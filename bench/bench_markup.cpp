// The display pipeline of chat messages (MessageMarkup::fromMessage): time per message over a
// mixed load, and per-message time for 1 KB against 10 KB texts to show that it grows linearly.
// usage: bench_markup [messages]   (default 10000)
#include "util/messagemarkup.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTextStream>
#include <QVector>

#include <algorithm>

namespace {

const QStringList words{"Здравствуйте", "подскажите", "пожалуйста", "доставка",
                        "заказ",        "номер",      "спасибо",    "когда",
                        "будет",        "hello",      "order",      "price",
                        "today",        "ok",         "и",          "в",
                        "на",           "123",        "2-3",        "т.е.",
                        "1.5",          "a < b",      "&",          "\"цена\""};
const QStringList links{"https://example.com/catalog?item=42",
                        "http://shop.example.org/cart",
                        "example.com/delivery",
                        "пример.рф/оплата",
                        "ftp://files.example.net/price.xls",
                        "www.example.ru"};
const QStringList emails{"ivan@mail.ru", "support@example.com", "john.doe@corp.example.org"};
const QStringList emoji{"😀", "👍", "🎉", "❤️", "🇷🇺", "👨‍👩‍👧", "👍🏻", "🙂"};

QString randomPiece(QRandomGenerator &random)
{
    const int roll = random.bounded(100);
    if (roll < 6)
        return links.at(random.bounded(links.size()));
    if (roll < 9)
        return emails.at(random.bounded(emails.size()));
    if (roll < 17)
        return emoji.at(random.bounded(emoji.size()));
    if (roll < 20)
        return QStringLiteral("\n");
    return words.at(random.bounded(words.size()));
}

// Chat-like messages: mostly a few words, some long; links, e-mails and emoji mixed in.
QStringList mixedMessages(int count, QRandomGenerator &random)
{
    QStringList messages;
    messages.reserve(count);
    for (int i = 0; i < count; ++i) {
        const int pieces = random.bounded(100) < 85 ? random.bounded(1, 15)
                                                    : random.bounded(15, 60);
        QString text;
        for (int j = 0; j < pieces; ++j) {
            if (j > 0)
                text += QLatin1Char(' ');
            text += randomPiece(random);
        }
        messages << text;
    }
    return messages;
}

QStringList messagesOfSize(int count, int bytes, QRandomGenerator &random)
{
    QStringList messages;
    for (int i = 0; i < count; ++i) {
        QString text;
        while (text.toUtf8().size() < bytes) {
            text += randomPiece(random);
            text += QLatin1Char(' ');
        }
        messages << text;
    }
    return messages;
}

struct Timing
{
    double median = 0;
    double p90 = 0;
    double p99 = 0;
    double mean = 0;
};

// Each message is timed alone; `rounds` passes over the whole set, all samples pooled.
Timing timePipeline(const QStringList &messages, int rounds, qint64 &checksum)
{
    QVector<double> samples;
    samples.reserve(messages.size() * rounds);
    QElapsedTimer timer;
    for (int round = 0; round < rounds; ++round) {
        for (const QString &text : messages) {
            timer.start();
            const MessageMarkup markup = MessageMarkup::fromMessage(text, true);
            samples << timer.nsecsElapsed() / 1000.0;
            checksum += markup.html.size() + markup.plainLines.size();
        }
    }
    std::sort(samples.begin(), samples.end());
    Timing t;
    t.median = samples.at(samples.size() / 2);
    t.p90 = samples.at(samples.size() * 90 / 100);
    t.p99 = samples.at(samples.size() * 99 / 100);
    double sum = 0;
    for (double s : qAsConst(samples))
        sum += s;
    t.mean = sum / samples.size();
    return t;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 10000;
    QTextStream out(stdout);
    QRandomGenerator random(20240515);
    qint64 checksum = 0;

    const QStringList mixed = mixedMessages(count, random);
    qint64 characters = 0;
    for (const QString &text : mixed)
        characters += text.size();
    timePipeline(mixed, 1, checksum); // warm-up: pattern compilation, allocator

    const Timing t = timePipeline(mixed, 3, checksum);
    out << "mixed messages: " << mixed.size() << ", mean length " << characters / mixed.size()
        << " characters\n";
    out << QStringLiteral("  per message: median %1 us, p90 %2 us, p99 %3 us, mean %4 us\n")
               .arg(t.median, 0, 'f', 2)
               .arg(t.p90, 0, 'f', 2)
               .arg(t.p99, 0, 'f', 2)
               .arg(t.mean, 0, 'f', 2);
    out << "  target median < 20 us: " << (t.median < 20 ? "met" : "MISSED") << "\n";

    const QStringList oneKb = messagesOfSize(1000, 1024, random);
    const QStringList tenKb = messagesOfSize(100, 10240, random);
    timePipeline(oneKb, 1, checksum);
    const Timing small = timePipeline(oneKb, 3, checksum);
    const Timing large = timePipeline(tenKb, 3, checksum);
    out << QStringLiteral("1 KB messages: median %1 us (%2 us per KB)\n")
               .arg(small.median, 0, 'f', 1)
               .arg(small.median, 0, 'f', 1);
    out << QStringLiteral("10 KB messages: median %1 us (%2 us per KB)\n")
               .arg(large.median, 0, 'f', 1)
               .arg(large.median / 10, 0, 'f', 1);
    out << QStringLiteral("10 KB / 1 KB: %1\n").arg(large.median / small.median, 0, 'f', 2);
    out << "(checksum " << checksum << ")\n";
    return 0;
}
