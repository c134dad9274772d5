// The emoji pictures: every one loads at 40 x 40 and shows in a text edit through the image
// tag that message markup writes.
#include <QDirIterator>
#include <QTextEdit>
#include <QtTest>

class TestEmojiResources : public QObject
{
    Q_OBJECT

private slots:
    void everyPictureLoads();
    void pictureShowsInTextEdit();
};

void TestEmojiResources::everyPictureLoads()
{
    QDirIterator it(QStringLiteral(":/emoji/resources/emoji"));
    int count = 0;
    QStringList broken;
    while (it.hasNext()) {
        const QString path = it.next();
        const QString name = it.fileName();
        bool ok = false;
        const uint codePoint = name.mid(6).toUInt(&ok, 16);
        if (!name.startsWith(QLatin1String("emoji_")) || !ok || codePoint < 0x1F000
            || codePoint > 0x1FFFF || name != name.toLower()) {
            broken << name;
            continue;
        }
        const QImage image(path);
        if (image.size() != QSize(40, 40) || !image.hasAlphaChannel())
            broken << name;
        ++count;
    }
    QVERIFY2(broken.isEmpty(), qPrintable(broken.join(QLatin1Char(' '))));
    // The set covers the common blocks of emoji.
    QVERIFY2(count > 1000, qPrintable(QString::number(count)));
    for (const char *name :
         {"emoji_1f600", "emoji_1f44d", "emoji_1f1f7", "emoji_1f3fb", "emoji_1f004"})
        QVERIFY2(QFile::exists(QStringLiteral(":/emoji/resources/emoji/") + QLatin1String(name)),
                 name);
}

void TestEmojiResources::pictureShowsInTextEdit()
{
    QTextEdit edit;
    edit.setStyleSheet(QStringLiteral("QTextEdit { background: white; border: none; }"));
    edit.resize(200, 60);
    edit.setHtml(
        QStringLiteral("<img width=20 height=20 src=':/emoji/resources/emoji/emoji_1f600'/>"));
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));

    const QVariant resource
        = edit.document()->resource(QTextDocument::ImageResource,
                                    QUrl(QStringLiteral(":/emoji/resources/emoji/emoji_1f600")));
    QVERIFY(resource.isValid());

    // The smiley is yellow: some strongly coloured pixels must be painted.
    const QImage shot = edit.grab().toImage();
    int coloured = 0;
    for (int y = 0; y < shot.height(); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            const QColor c = shot.pixelColor(x, y);
            if (c.red() > 180 && c.green() > 120 && c.blue() < 100)
                ++coloured;
        }
    }
    QVERIFY2(coloured > 50, qPrintable(QString::number(coloured)));
}

QTEST_MAIN(TestEmojiResources)
#include "tst_emojiresources.moc"
