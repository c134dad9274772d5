// Fuzz target: arbitrary bytes as a service reply or a stream event, through fromString,
// fromFirebaseReply and the chat and visitor mappings (with the operations the repositories
// and lists run on their results). Built and run by tools/fuzz.sh.
#include "network/firebasereply.h"
#include "util/jsonparser.h"

#include <QJsonArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

void discardMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

// What the realtime handlers do with one tree of records.
void mapTree(const QJsonObject &tree)
{
    FirebaseChat previous;
    for (auto it = tree.begin(); it != tree.end(); ++it) {
        const QJsonObject json = it.value().toObject();
        FirebaseChat chat = JsonParser::getFirebaseChatFromJson(json);
        chat.setId(it.key());
        (void) chat.compareTo(previous);
        (void) chat.getLastMessage().getSentAt();
        (void) chat.getStartedAt();
        previous = chat;

        FirebaseVisitor visitor = JsonParser::getFirebaseVisitorFromJson(json);
        JsonParser::updateFirebaseVisitorFromJson(visitor, json);
        (void) visitor.getCreatedAt();

        const FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(json);
        (void) JsonParser::toString(message.toJson(false));
        (void) JsonParser::getFirebaseUserFromJson(json).getLastActiveAt();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler(discardMessage); // every parse error is logged with its text
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));
    const QJsonObject object = JsonParser::fromString(text);

    // The object as the records themselves and as a keyed snapshot.
    mapTree(QJsonObject{{QStringLiteral("key"), object}});
    mapTree(object);

    // The object as a stream event {"p": path, "d": value}, delivered as put and as patch.
    for (const char *event : {"put", "patch"}) {
        const QJsonObject tree = JsonParser::fromFirebaseReply(
            FirebaseReply(QString::fromLatin1(event), object));
        mapTree(tree);
    }
    const QJsonValue value = object.value(QStringLiteral("d"));
    if (value.isArray())
        mapTree(JsonParser::fromJsonArray(value.toArray()));
    else
        mapTree(JsonParser::denormalizeJson(value.toObject()));
    (void) JsonParser::getQuickAnswersFromJson(object);
    (void) JsonParser::getUserKeysFromJson(object);
    return 0;
}
