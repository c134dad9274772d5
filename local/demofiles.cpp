#include "local/demofiles.h"

#include "local/httprouter.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>

namespace {

const QString kAvatars = QStringLiteral("/files/avatars/");
const QString kLogos = QStringLiteral("/files/logos/");
const QString kPictures = QStringLiteral("/files/pictures/");
const QString kDocuments = QStringLiteral("/files/docs/");
constexpr int kMaxCached = 512;

// Colours that keep white shapes readable; each name picks its own.
QColor tint(const QString &name, int salt = 0)
{
    static const QRgb palette[] = {0x2f6bff,
                                   0x21c17a,
                                   0xfa7a27,
                                   0x9b51e0,
                                   0xe0457b,
                                   0x17a2b8,
                                   0x6c63ff,
                                   0xd4a017,
                                   0x2d9cdb,
                                   0x27ae60,
                                   0xeb5757,
                                   0x5c6bc0};
    const QByteArray digest = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha1);
    const int index = (quint8(digest.at(salt % digest.size())) + salt) % int(std::size(palette));
    return QColor(palette[index]);
}

QByteArray toPng(const QImage &image)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

QString fileName(const QString &path, const QString &prefix)
{
    return path.mid(prefix.size());
}

} // namespace

QString DemoFiles::avatarPath(const QString &name)
{
    return kAvatars + name + QStringLiteral(".png");
}

QString DemoFiles::logoPath(const QString &name)
{
    return kLogos + name + QStringLiteral(".png");
}

QString DemoFiles::picturePath(const QString &name)
{
    return kPictures + name + QStringLiteral(".png");
}

QString DemoFiles::previewPath(const QString &name)
{
    return kPictures + name + QStringLiteral("-mini.png");
}

QString DemoFiles::documentPath(const QString &fileName)
{
    return kDocuments + fileName;
}

QByteArray DemoFiles::avatar(const QString &name)
{
    // A head and shoulders on the person's colour; no lettering, which would need fonts and so
    // a GUI application.
    QImage image(128, 128, QImage::Format_ARGB32_Premultiplied);
    image.fill(tint(name));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 215));
    painter.drawEllipse(QPointF(64, 50), 24, 24);
    painter.drawEllipse(QRectF(22, 82, 84, 80));
    return toPng(image);
}

QByteArray DemoFiles::logo(const QString &name)
{
    QImage image(96, 96, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint(name, 3));
    painter.drawRoundedRect(QRectF(0, 0, 96, 96), 20, 20);
    // A speech bubble: the product is a chat.
    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(20, 24, 56, 38), 12, 12);
    bubble.moveTo(32, 60);
    bubble.lineTo(28, 76);
    bubble.lineTo(46, 60);
    painter.setBrush(Qt::white);
    painter.drawPath(bubble.simplified());
    return toPng(image);
}

QByteArray DemoFiles::picture(const QString &name)
{
    const bool preview = name.endsWith(QLatin1String("-mini"));
    const QString scene = preview ? name.chopped(5) : name;
    // A landscape: sky, sun, two ridges and a field, coloured by the name.
    QImage image(800, 520, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 520);
    sky.setColorAt(0, tint(scene, 1).lighter(160));
    sky.setColorAt(1, QColor(0xfff4e0));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xffd34d));
    painter.drawEllipse(QPointF(180 + 40 * (qHash(scene) % 10), 140), 56, 56);
    const QColor ridge = tint(scene, 2);
    painter.setBrush(ridge.darker(130));
    painter.drawPolygon(QPolygonF({{0, 420}, {210, 190}, {420, 420}}));
    painter.setBrush(ridge);
    painter.drawPolygon(QPolygonF({{260, 420}, {540, 150}, {800, 380}, {800, 420}}));
    painter.setBrush(QColor(0x6dbb63));
    painter.drawRect(QRectF(0, 410, 800, 110));
    painter.end();
    return toPng(preview ? image.scaledToWidth(240, Qt::SmoothTransformation) : image);
}

QByteArray DemoFiles::document(const QString &fileName)
{
    if (fileName == QLatin1String("delivery-terms.txt")) {
        return QStringLiteral("Условия доставки\n\n"
                              "Москва и область: 1–2 дня, бесплатно от 5 000 "
                              "₽.\n"
                              "Другие города России: от 3 дней, по тарифу перевозчика.\n"
                              "Самовывоз: в день заказа, ул. Демонстрационная, 1.\n")
            .toUtf8();
    }
    if (fileName == QLatin1String("price-list.csv")) {
        return QStringLiteral("Товар;Цена, ₽\n"
                              "Ноутбук Aero 14;84990\n"
                              "Мышь беспроводная;1490\n"
                              "Сумка для ноутбука;2990\n")
            .toUtf8();
    }
    if (fileName == QLatin1String("order-1042.txt")) {
        return QStringLiteral("Заказ № 1042\nНоутбук Aero 14 — 1 шт.\nИтого: 84 990 "
                              "₽\n")
            .toUtf8();
    }
    return {};
}

void DemoFiles::install(HttpRouter &router)
{
    router.addPrefix(kAvatars, [this](const HttpRequest &request) {
        return servePng(Kind::Avatar, request);
    });
    router.addPrefix(kLogos,
                     [this](const HttpRequest &request) { return servePng(Kind::Logo, request); });
    router.addPrefix(kPictures, [this](const HttpRequest &request) {
        return servePng(Kind::Picture, request);
    });
    router.addPrefix(kDocuments,
                     [this](const HttpRequest &request) { return serveDocument(request); });
}

HttpResponse DemoFiles::servePng(Kind kind, const HttpRequest &request)
{
    static const QRegularExpression wellFormed(QStringLiteral("^[a-z0-9][a-z0-9-]{0,63}\\.png$"));
    const QString prefix = kind == Kind::Avatar ? kAvatars
                           : kind == Kind::Logo ? kLogos
                                                : kPictures;
    const QString file = fileName(request.path, prefix);
    if (request.method != "GET" && request.method != "HEAD")
        return HttpResponse::text(405, "Method not allowed");
    if (!wellFormed.match(file).hasMatch())
        return HttpResponse::text(404, "Not found");
    const QString name = file.chopped(4);
    const QString key = prefix + name;
    auto cached = m_cache.constFind(key);
    if (cached == m_cache.constEnd()) {
        if (m_cache.size() >= kMaxCached)
            m_cache.clear();
        const QByteArray png = kind == Kind::Avatar ? avatar(name)
                               : kind == Kind::Logo ? logo(name)
                                                    : picture(name);
        cached = m_cache.insert(key, png);
    }
    HttpResponse response(200);
    response.setBody(cached.value(), "image/png");
    response.setHeader("Cache-Control", "public, max-age=86400");
    return response;
}

HttpResponse DemoFiles::serveDocument(const HttpRequest &request) const
{
    const QString file = fileName(request.path, kDocuments);
    const QByteArray content = document(file);
    if (content.isEmpty())
        return HttpResponse::text(404, "Not found");
    HttpResponse response(200);
    response.setBody(content,
                     file.endsWith(QLatin1String(".csv")) ? "text/csv; charset=utf-8"
                                                          : "text/plain; charset=utf-8");
    response.setHeader("Content-Disposition", "attachment");
    return response;
}
