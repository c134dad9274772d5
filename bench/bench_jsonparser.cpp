// Cost of turning the account's first snapshots into records: QJsonDocument parsing alone
// against parsing plus the mappings that the realtime handlers run on "init".
//
//   bench_jsonparser [small|large] [--rounds N] [--write DIR]
//
// The snapshot is generated with a fixed seed in the shapes the database sends; --write keeps
// the three bodies for inspection.
#include "network/firebasereply.h"
#include "snapshotgenerator.h"
#include "util/jsonparser.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace {

// A stream's first event as the subscription hands it over: {"p": "/", "d": snapshot}.
QByteArray initBody(const QJsonObject &snapshot)
{
    return QJsonDocument(QJsonObject{{"p", "/"}, {"d", snapshot}}).toJson(QJsonDocument::Compact);
}

struct Bodies
{
    QByteArray users;
    QByteArray chats;
    QByteArray visitors;
};

// Each run stops the clock once its product exists (the document; the records), before anything
// is released, so that both figures count building only.

qint64 parseOnly(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return timer.nsecsElapsed();
}

// What the users, chats and visitors handlers do with an "init" event.
qint64 mapUsers(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = reply.getData().value("d").toObject();
    QList<FirebaseUser> users;
    users.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseUser user = JsonParser::getFirebaseUserFromJson(it.value().toObject());
        user.setId(it.key());
        users.append(user);
    }
    return timer.nsecsElapsed();
}

qint64 mapChats(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = reply.getData().value("d").toObject();
    QList<FirebaseChat> chats;
    chats.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseChat chat = JsonParser::getFirebaseChatFromJson(it.value().toObject());
        chat.setId(it.key());
        chats.append(chat);
    }
    return timer.nsecsElapsed();
}

qint64 mapVisitors(const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    const FirebaseReply reply(QStringLiteral("init"), QJsonDocument::fromJson(body).object());
    const QJsonObject json = JsonParser::fromFirebaseReply(reply);
    QHash<QString, FirebaseVisitor> visitors;
    visitors.reserve(json.size());
    for (auto it = json.begin(); it != json.end(); ++it) {
        FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(it.value().toObject());
        visitor.setId(it.key());
        visitors.insert(it.key(), visitor);
    }
    return timer.nsecsElapsed();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);

    const Profile *profile = &Profiles[1];
    int rounds = 9;
    QString writeDir;
    const QStringList args = app.arguments().mid(1);
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--rounds") && i + 1 < args.size()) {
            rounds = qMax(1, args[++i].toInt());
        } else if (args[i] == QLatin1String("--write") && i + 1 < args.size()) {
            writeDir = args[++i];
        } else {
            profile = nullptr;
            for (const Profile &p : Profiles) {
                if (args[i] == QLatin1String(p.name))
                    profile = &p;
            }
            if (!profile) {
                out << "usage: bench_jsonparser [small|large] [--rounds N] [--write DIR]\n";
                return 2;
            }
        }
    }

    SnapshotGenerator generator(*profile);
    Bodies bodies;
    bodies.users = initBody(generator.users());
    bodies.chats = initBody(generator.chats());
    bodies.visitors = initBody(generator.visitors());

    if (!writeDir.isEmpty()) {
        QDir().mkpath(writeDir);
        const QList<QPair<QString, QByteArray>> files = {{"users.json", bodies.users},
                                                         {"chats.json", bodies.chats},
                                                         {"visitors.json", bodies.visitors}};
        for (const auto &file : files) {
            QFile f(QDir(writeDir).filePath(file.first));
            if (f.open(QIODevice::WriteOnly))
                f.write(file.second);
        }
    }

    out << "profile " << profile->name << ": " << profile->chats << " chats, "
        << profile->visitorUsers << " visitor users + " << profile->operators << " operators, "
        << profile->visitorsOnline << " visitors online; "
        << (bodies.users.size() + bodies.chats.size() + bodies.visitors.size()) / 1024
        << " KiB of JSON\n";
    out.flush();

    // Each round parses and then parses + maps every body, so that both meet the same machine
    // load; every figure is the median over the rounds. Round 0 only warms up.
    const char *names[] = {"users", "chats", "visitors"};
    const QByteArray *parts[] = {&bodies.users, &bodies.chats, &bodies.visitors};
    qint64 (*maps[])(const QByteArray &) = {mapUsers, mapChats, mapVisitors};
    std::vector<double> parseMs[3], parseMapMs[3], totalParseMs, totalParseMapMs, ratios;
    for (int round = 0; round <= rounds; ++round) {
        double parse = 0;
        double parseMap = 0;
        for (int part = 0; part < 3; ++part) {
            const double p = parseOnly(*parts[part]) / 1e6;
            const double pm = maps[part](*parts[part]) / 1e6;
            parseMs[part].push_back(p);
            parseMapMs[part].push_back(pm);
            parse += p;
            parseMap += pm;
        }
        if (round == 0) {
            for (int part = 0; part < 3; ++part) {
                parseMs[part].clear();
                parseMapMs[part].clear();
            }
            continue;
        }
        totalParseMs.push_back(parse);
        totalParseMapMs.push_back(parseMap);
        ratios.push_back(parseMap / parse);
    }

    out << QStringLiteral("%1 %2 %3\n").arg("", -10).arg("parse ms", 10).arg("+ map ms", 10);
    for (int part = 0; part < 3; ++part) {
        out << QStringLiteral("%1 %2 %3\n")
                   .arg(names[part], -10)
                   .arg(median(parseMs[part]), 10, 'f', 1)
                   .arg(median(parseMapMs[part]), 10, 'f', 1);
    }
    out << QStringLiteral("%1 %2 %3\n")
               .arg("total", -10)
               .arg(median(totalParseMs), 10, 'f', 1)
               .arg(median(totalParseMapMs), 10, 'f', 1);
    const double ratio = median(ratios);
    out << QStringLiteral("ratio %1 (median of %2 rounds; limit 2.00)\n")
               .arg(ratio, 0, 'f', 2)
               .arg(rounds);
    return ratio <= 2.0 ? 0 : 1;
}
