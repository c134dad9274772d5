#pragma once

#include <QDialog>
#include <QImage>
#include <QStringList>

#include <memory>

namespace Ui {
class ImageViewer;
}
class QLabel;

// The chat's pictures over the app: fitted at first, zoomed with the wheel or Ctrl +/-, panned
// by dragging, saved where the operator chooses; the arrow keys go through the chat's pictures.
class ImageViewer : public QDialog
{
    Q_OBJECT

public:
    explicit ImageViewer(QWidget *parent = nullptr);
    ~ImageViewer() override;

    void showImages(const QStringList &urls, const QString &current);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showAt(int position);
    void setZoom(double zoom);
    void fit();
    void saveAs();

    std::unique_ptr<Ui::ImageViewer> m_ui;
    QLabel *m_picture;
    QStringList m_urls;
    int m_position = -1;
    QImage m_image;
    double m_zoom = 1.0;
    QPoint m_dragFrom;
};
