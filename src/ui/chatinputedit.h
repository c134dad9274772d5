#pragma once

#include <QImage>
#include <QPlainTextEdit>
#include <QStringList>

// The chat's input field: grows with its text from one to eight lines, and hands pasted
// pictures and dropped files to the chat instead of inserting them as text.
class ChatInputEdit : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit ChatInputEdit(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void imagePasted(QImage image);
    void filesDropped(QStringList paths);

protected:
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    int heightForLines(int lines) const;
    void fitHeight();
};
