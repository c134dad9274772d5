// emojirender: renders every glyph of a colour emoji font in a code point
// range into small square PNG pictures with a transparent background.
//
// Usage: emojirender <font.ttf> <output dir> [size=40] [first=1f000] [last=1ffff]
//
// Each covered code point is taken at the font's native bitmap strike,
// trimmed to its visible pixels, centred and scaled down smoothly so that it
// fills a size x size square. Pictures are written as emoji_<hex>.png.
// Code points the font does not cover, or whose rendering is fully
// transparent, are skipped.

#include <QDir>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRawFont>

#include <cstdio>

namespace {

QRect visibleRect(const QImage &img)
{
    int left = img.width(), top = img.height(), right = -1, bottom = -1;
    for (int y = 0; y < img.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(img.constScanLine(y));
        for (int x = 0; x < img.width(); ++x) {
            if (qAlpha(line[x]) > 8) {
                left = qMin(left, x);
                right = qMax(right, x);
                top = qMin(top, y);
                bottom = qMax(bottom, y);
            }
        }
    }
    if (right < 0)
        return QRect();
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 3) {
        std::fprintf(stderr,
                     "usage: %s <font.ttf> <outdir> [size] [first-hex] [last-hex]\n",
                     argv[0]);
        return 2;
    }
    const QString fontPath = args.at(1);
    const QString outDir = args.at(2);
    const int size = args.size() > 3 ? args.at(3).toInt() : 40;
    const uint first = args.size() > 4 ? args.at(4).toUInt(nullptr, 16) : 0x1F000;
    const uint last = args.size() > 5 ? args.at(5).toUInt(nullptr, 16) : 0x1FFFF;
    if (size < 8 || first > last) {
        std::fprintf(stderr, "bad arguments\n");
        return 2;
    }

    // Load the font through the font database so that Qt's colour bitmap
    // support is used. Noto Color Emoji carries a single 136 x 128 colour
    // bitmap strike; at a pixel size of 128 Qt hands it out unscaled.
    const int fontId = QFontDatabase::addApplicationFont(fontPath);
    const QStringList families = QFontDatabase::applicationFontFamilies(fontId);
    if (fontId < 0 || families.isEmpty()) {
        std::fprintf(stderr, "cannot load font %s\n", qPrintable(fontPath));
        return 1;
    }
    QFont qfont(families.first());
    qfont.setPixelSize(128);
    qfont.setHintingPreference(QFont::PreferNoHinting);
    const QRawFont font = QRawFont::fromFont(qfont);
    if (!font.isValid() || font.familyName() != families.first()) {
        std::fprintf(stderr,
                     "font %s did not resolve (got '%s')\n",
                     qPrintable(fontPath),
                     qPrintable(font.familyName()));
        return 1;
    }
    QDir().mkpath(outDir);

    // Scale of the em square to the output square. Visible content is never
    // enlarged much beyond this, so small symbols keep a natural proportion
    // instead of being blown up to the full square.
    const qreal emScale = qreal(size) / font.pixelSize();
    const qreal maxScale = emScale * 1.15;

    int written = 0, skippedEmpty = 0, covered = 0;
    for (uint cp = first; cp <= last; ++cp) {
        if (!font.supportsCharacter(cp))
            continue;
        ++covered;
        const QString text = QString::fromUcs4(&cp, 1);
        const QVector<quint32> glyphs = font.glyphIndexesForString(text);
        if (glyphs.isEmpty() || glyphs.first() == 0) {
            ++skippedEmpty;
            continue;
        }

        QImage glyph = font.alphaMapForGlyph(glyphs.first(), QRawFont::PixelAntialiasing);
        if (glyph.isNull()) {
            ++skippedEmpty;
            continue;
        }
        if (glyph.format() == QImage::Format_Indexed8 || glyph.format() == QImage::Format_Alpha8
            || glyph.format() == QImage::Format_Grayscale8) {
            // Monochrome glyph: use the coverage as alpha of a dark colour.
            QImage argb(glyph.size(), QImage::Format_ARGB32_Premultiplied);
            for (int y = 0; y < glyph.height(); ++y) {
                QRgb *dst = reinterpret_cast<QRgb *>(argb.scanLine(y));
                for (int x = 0; x < glyph.width(); ++x) {
                    const int a = glyph.format() == QImage::Format_Indexed8
                                      ? glyph.pixelIndex(x, y)
                                      : qGray(glyph.pixel(x, y));
                    dst[x] = qPremultiply(qRgba(0x30, 0x30, 0x30, a));
                }
            }
            glyph = argb;
        } else {
            glyph = glyph.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        }

        const QRect vis = visibleRect(glyph);
        if (vis.isNull()) {
            ++skippedEmpty;
            continue;
        }
        const QImage cropped = glyph.copy(vis);
        qreal scale = qMin(qreal(size) / cropped.width(), qreal(size) / cropped.height());
        scale = qMin(scale, maxScale);
        const int w = qBound(1, qRound(cropped.width() * scale), size);
        const int h = qBound(1, qRound(cropped.height() * scale), size);
        const QImage scaled = cropped.scaled(w, h, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

        QImage out(size, size, QImage::Format_ARGB32_Premultiplied);
        out.fill(Qt::transparent);
        {
            QPainter p(&out);
            p.drawImage((size - w) / 2, (size - h) / 2, scaled);
        }
        if (visibleRect(out).isNull()) {
            ++skippedEmpty;
            continue;
        }
        const QString file = QStringLiteral("%1/emoji_%2.png")
                                 .arg(outDir, QString::number(cp, 16).toLower());
        if (!out.convertToFormat(QImage::Format_ARGB32).save(file, "PNG")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        ++written;
    }

    std::printf("covered %d, written %d, skipped (empty) %d\n", covered, written, skippedEmpty);
    return written > 0 ? 0 : 1;
}
