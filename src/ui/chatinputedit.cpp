#include "ui/chatinputedit.h"

#include <QMimeData>
#include <QTextBlock>
#include <QUrl>

namespace {

QStringList localFiles(const QMimeData *source)
{
    QStringList paths;
    if (!source || !source->hasUrls())
        return paths;
    for (const QUrl &url : source->urls()) {
        if (url.isLocalFile())
            paths << url.toLocalFile();
    }
    return paths;
}

} // namespace

ChatInputEdit::ChatInputEdit(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setTabChangesFocus(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    connect(this, &QPlainTextEdit::textChanged, this, &ChatInputEdit::fitHeight);
    fitHeight();
}

int ChatInputEdit::heightForLines(int lines) const
{
    const QMargins margins = contentsMargins();
    return lines * fontMetrics().lineSpacing() + 2 * int(document()->documentMargin())
           + margins.top() + margins.bottom() + 2;
}

void ChatInputEdit::fitHeight()
{
    // Wrapped lines count too; the layout may not have run yet, so measure them here.
    const int width = qMax(50, viewport()->width() - 2 * int(document()->documentMargin()));
    int lines = 0;
    for (QTextBlock block = document()->begin(); block.isValid() && lines < 8;
         block = block.next()) {
        lines += qMax(1,
                      fontMetrics()
                              .boundingRect(QRect(0, 0, width, 100000),
                                            Qt::TextWordWrap,
                                            block.text())
                              .height()
                          / fontMetrics().lineSpacing());
    }
    const int height = heightForLines(qBound(1, lines, 8));
    if (height != this->height()) {
        setFixedHeight(height);
        updateGeometry();
    }
}

QSize ChatInputEdit::sizeHint() const
{
    return QSize(QPlainTextEdit::sizeHint().width(), height());
}

QSize ChatInputEdit::minimumSizeHint() const
{
    return QSize(100, heightForLines(1));
}

bool ChatInputEdit::canInsertFromMimeData(const QMimeData *source) const
{
    return source->hasImage() || !localFiles(source).isEmpty()
           || QPlainTextEdit::canInsertFromMimeData(source);
}

void ChatInputEdit::insertFromMimeData(const QMimeData *source)
{
    const QStringList files = localFiles(source);
    if (!files.isEmpty()) {
        emit filesDropped(files);
        return;
    }
    if (source->hasImage()) {
        const QImage image = qvariant_cast<QImage>(source->imageData());
        if (!image.isNull()) {
            emit imagePasted(image);
            return;
        }
    }
    QPlainTextEdit::insertFromMimeData(source);
}
