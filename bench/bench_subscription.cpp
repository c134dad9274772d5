// FirebaseSubscription's side of a stream: a 20 MB snapshot arriving in frames of 16,384
// characters, timed from the first frame to the receiver's slot call against parsing the same
// text with QJsonDocument alone, and the rate of small "put" events.
//
//   bench_subscription [--rounds N] [--megabytes M] [--puts N]
//
// Messages are handed to the subscription's message slot as the socket would hand them, so the
// figures are the subscription's own (reassembly, parsing, event rules, queued delivery) without
// TLS and websocket decoding. Exits 1 when a target is missed.
#include "network/firebasesubscription.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace {

constexpr int kFrameChars = 16384;
const QString kPath = QStringLiteral("/services/7/accounts/9/chat-messages");
const QString kWirePath = QStringLiteral("services/7/accounts/9/chat-messages");

QString pushMessage(const QString &path, const QJsonValue &data)
{
    const QJsonObject message{{"t", "d"},
                              {"d",
                               QJsonObject{{"a", "d"},
                                           {"b", QJsonObject{{"p", path}, {"d", data}}}}}};
    return QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

// Chats with their messages, in the shape the database holds them, until the UTF-8 text has
// about the size.
QString snapshotText(qint64 bytes)
{
    const QString texts[] = {
        QStringLiteral("Здравствуйте! Подскажите, пожалуйста, есть ли доставка в Казань?"),
        QStringLiteral("Добрый день, да, доставляем в течение трёх дней."),
        QStringLiteral("Спасибо, оформлю заказ сегодня вечером."),
        QStringLiteral("Order #%1 is on its way, tracking number follows."),
    };
    QJsonObject chats;
    qint64 size = 0;
    qint64 timestamp = 1709641234567;
    for (int chat = 0; size < bytes; ++chat) {
        QJsonObject messages;
        for (int i = 0; i < 50; ++i) {
            const QString text = texts[i % 4].contains(QLatin1String("%1"))
                                     ? texts[i % 4].arg(chat * 50 + i)
                                     : texts[i % 4];
            messages.insert(QStringLiteral("-Nx%1m%2")
                                .arg(chat, 6, 10, QLatin1Char('0'))
                                .arg(i, 3, 10, QLatin1Char('0')),
                            QJsonObject{{"text", text},
                                        {"sender", i % 2 ? "operator-17" : "visitor-4411"},
                                        {"status", "read"},
                                        {"type", "text"},
                                        {"timestamp", double(timestamp += 1371)}});
            size += 105 + text.toUtf8().size();
        }
        chats.insert(QStringLiteral("chat-%1").arg(chat), messages);
    }
    return pushMessage(kWirePath, chats);
}

class Sink : public QObject
{
    Q_OBJECT

public:
    int count = 0;
    FirebaseReply last;

public slots:
    void onEvent(FirebaseReply reply)
    {
        ++count;
        last = reply;
    }
};

qint64 median(std::vector<qint64> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void deliver(Sink &sink, int expected)
{
    while (sink.count < expected)
        QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const auto option = [&](const QString &name, int fallback) {
        const int index = args.indexOf(name);
        return index >= 0 && index + 1 < args.size() ? args.at(index + 1).toInt() : fallback;
    };
    const int rounds = qMax(1, option("--rounds", 5));
    const int megabytes = qMax(1, option("--megabytes", 20));
    const int puts = qMax(1, option("--puts", 20000));
    QTextStream out(stdout);

    // The snapshot and its frames are made before any clock runs.
    const QString snapshot = snapshotText(qint64(megabytes) * 1000 * 1000);
    const QByteArray snapshotUtf8 = snapshot.toUtf8();
    QStringList frames;
    for (int at = 0; at < snapshot.size(); at += kFrameChars)
        frames.append(snapshot.mid(at, kFrameChars));
    const QString count = QString::number(frames.size());
    out << "snapshot: " << snapshot.size() << " characters, " << snapshotUtf8.size()
        << " bytes of UTF-8, " << frames.size() << " frames\n";
    out.flush();

    std::vector<qint64> parseOnly;
    std::vector<qint64> convertAndParse;
    std::vector<qint64> stream;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        const QJsonDocument parsed = QJsonDocument::fromJson(snapshotUtf8);
        parseOnly.push_back(timer.nsecsElapsed());
        if (!parsed.isObject())
            return 2;

        timer.restart();
        const QJsonDocument converted = QJsonDocument::fromJson(snapshot.toUtf8());
        convertAndParse.push_back(timer.nsecsElapsed());

        Sink sink;
        FirebaseSubscription subscription(QStringLiteral("127.0.0.1:1"), kPath, &sink, "onEvent");
        // The first message of a subscription is always content: let a small push take that place.
        subscription.onTextMessage(pushMessage(kWirePath + "/warm-up", 0));
        deliver(sink, 1);

        timer.restart();
        subscription.onTextMessage(count);
        for (const QString &frame : qAsConst(frames))
            subscription.onTextMessage(frame);
        deliver(sink, 2);
        stream.push_back(timer.nsecsElapsed());
        if (sink.last.getData().value("d").toObject().size()
            != parsed.object().value("d").toObject().value("b").toObject().value("d").toObject().size())
            return 2;
    }
    const double parseMs = median(parseOnly) / 1e6;
    const double convertMs = median(convertAndParse) / 1e6;
    const double streamMs = median(stream) / 1e6;
    const double ratio = streamMs / parseMs;
    out << "QJsonDocument::fromJson of the UTF-8 text:       " << parseMs << " ms\n";
    out << "toUtf8 + QJsonDocument::fromJson of the text:    " << convertMs << " ms\n";
    out << "first frame to slot call:                         " << streamMs << " ms\n";
    out << "ratio to fromJson alone:                          " << ratio << " (target <= 1.5)\n";
    out.flush();

    // Small puts, each a message of its own as most live changes are.
    QStringList messages;
    for (int i = 0; i < puts; ++i) {
        messages.append(pushMessage(
            kWirePath + QStringLiteral("/chat-%1/-Nx%2").arg(i % 40).arg(i, 8, 10, QLatin1Char('0')),
            QJsonObject{{"text", QStringLiteral("Сообщение номер %1").arg(i)},
                        {"sender", "visitor-4411"},
                        {"status", "sent"},
                        {"timestamp", double(1709641234567 + i)}}));
    }
    std::vector<qint64> putRuns;
    for (int round = 0; round < rounds; ++round) {
        Sink sink;
        FirebaseSubscription subscription(QStringLiteral("127.0.0.1:1"), kPath, &sink, "onEvent");
        subscription.onTextMessage(pushMessage(kWirePath, QJsonObject()));
        deliver(sink, 1);
        QElapsedTimer timer;
        timer.start();
        for (const QString &message : qAsConst(messages))
            subscription.onTextMessage(message);
        deliver(sink, 1 + puts);
        putRuns.push_back(timer.nsecsElapsed());
        if (sink.last.getEvent() != QLatin1String("put"))
            return 2;
    }
    const double putSeconds = median(putRuns) / 1e9;
    const double rate = puts / putSeconds;
    out << puts << " small puts: " << putSeconds * 1000 << " ms, " << qint64(rate)
        << " events/s (target >= 20000)\n";
    out.flush();

    return ratio <= 1.5 && rate >= 20000 ? 0 : 1;
}

#include "bench_subscription.moc"
