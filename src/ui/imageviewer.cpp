#include "ui/imageviewer.h"

#include "repo/resourcemanager.h"
#include "ui_imageviewer.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QUrl>

ImageViewer::ImageViewer(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ImageViewer>())
    , m_picture(new QLabel)
{
    m_ui->setupUi(this);
    m_picture->setObjectName(QStringLiteral("label_imageViewer_picture"));
    m_picture->setCursor(Qt::OpenHandCursor);
    m_ui->scrollArea_imageViewer->setWidget(m_picture);
    m_ui->scrollArea_imageViewer->viewport()->installEventFilter(this);
    m_picture->installEventFilter(this);
    connect(m_ui->toolButton_imageViewer_zoomIn, &QToolButton::clicked, this, [this] {
        setZoom(m_zoom * 1.25);
    });
    connect(m_ui->toolButton_imageViewer_zoomOut, &QToolButton::clicked, this, [this] {
        setZoom(m_zoom / 1.25);
    });
    connect(m_ui->toolButton_imageViewer_close, &QToolButton::clicked, this, &QDialog::close);
    connect(m_ui->pushButton_imageViewer_save, &QPushButton::clicked, this, &ImageViewer::saveAs);
    connect(m_ui->toolButton_imageViewer_browser, &QToolButton::clicked, this, [this] {
        if (m_position >= 0)
            QDesktopServices::openUrl(QUrl(m_urls.at(m_position)));
    });
    if (parent)
        resize(parent->window()->size() * 0.8);
}

ImageViewer::~ImageViewer() = default;

void ImageViewer::showImages(const QStringList &urls, const QString &current)
{
    m_urls = urls;
    if (m_urls.isEmpty() && !current.isEmpty())
        m_urls << current;
    show();
    showAt(qMax(0, m_urls.indexOf(current)));
}

void ImageViewer::showAt(int position)
{
    if (position < 0 || position >= m_urls.size())
        return;
    m_position = position;
    m_ui->label_imageViewer_position->setText(tr("%1 из %2").arg(position + 1).arg(m_urls.size()));
    m_image = QImage();
    m_picture->setText(tr("Загрузка…"));
    m_picture->adjustSize();
    ResourceManager *resources = ResourceManager::getInstance();
    if (!resources)
        return;
    const QString url = m_urls.at(position);
    resources->getFileFromUrlAsync(url, this, [this, url](const QString &path) {
        if (m_position < 0 || m_urls.at(m_position) != url)
            return;
        m_image = QImage(path);
        if (m_image.isNull()) {
            m_picture->setText(tr("Не удалось открыть изображение"));
            m_picture->adjustSize();
            return;
        }
        fit();
    });
}

void ImageViewer::fit()
{
    if (m_image.isNull())
        return;
    const QSize room = m_ui->scrollArea_imageViewer->viewport()->size() - QSize(4, 4);
    const double zoom = qMin(1.0,
                             qMin(double(room.width()) / m_image.width(),
                                  double(room.height()) / m_image.height()));
    setZoom(zoom);
}

void ImageViewer::setZoom(double zoom)
{
    if (m_image.isNull())
        return;
    m_zoom = qBound(0.05, zoom, 8.0);
    const QSize size = m_image.size() * m_zoom;
    m_picture->setPixmap(
        QPixmap::fromImage(m_image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    m_picture->resize(size);
}

void ImageViewer::saveAs()
{
    if (m_image.isNull() || m_position < 0)
        return;
    const QString name = QFileInfo(QUrl(m_urls.at(m_position)).path()).fileName();
    const QString path = QFileDialog::getSaveFileName(this, tr("Сохранить изображение"), name);
    if (!path.isEmpty() && !m_image.save(path))
        m_ui->label_imageViewer_position->setText(tr("Не удалось сохранить файл %1").arg(path));
}

void ImageViewer::keyPressEvent(QKeyEvent *event)
{
    const bool ctrl = event->modifiers() & Qt::ControlModifier;
    if (event->key() == Qt::Key_Right)
        showAt(m_position + 1);
    else if (event->key() == Qt::Key_Left)
        showAt(m_position - 1);
    else if (ctrl && (event->key() == Qt::Key_Plus || event->key() == Qt::Key_Equal))
        setZoom(m_zoom * 1.25);
    else if (ctrl && event->key() == Qt::Key_Minus)
        setZoom(m_zoom / 1.25);
    else if (ctrl && event->key() == Qt::Key_0)
        fit();
    else
        QDialog::keyPressEvent(event);
}

bool ImageViewer::eventFilter(QObject *watched, QEvent *event)
{
    Q_UNUSED(watched)
    switch (event->type()) {
    case QEvent::Wheel: {
        const int delta = static_cast<QWheelEvent *>(event)->angleDelta().y();
        if (delta != 0)
            setZoom(delta > 0 ? m_zoom * 1.15 : m_zoom / 1.15);
        return true;
    }
    case QEvent::MouseButtonPress:
        m_dragFrom = static_cast<QMouseEvent *>(event)->globalPos();
        return false;
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (!(mouse->buttons() & Qt::LeftButton))
            return false;
        const QPoint step = mouse->globalPos() - m_dragFrom;
        m_dragFrom = mouse->globalPos();
        QScrollArea *area = m_ui->scrollArea_imageViewer;
        area->horizontalScrollBar()->setValue(area->horizontalScrollBar()->value() - step.x());
        area->verticalScrollBar()->setValue(area->verticalScrollBar()->value() - step.y());
        return true;
    }
    default:
        return false;
    }
}
