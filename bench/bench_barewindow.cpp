// The yardstick of bench_startup's cold start: a bare Qt Widgets window, a QApplication and an
// empty QWidget of the console window's size, that prints "SHOWN <ms since main()>" on stderr
// once its first frame is painted, the way the console's start-up report does.
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace {

QElapsedTimer sinceMain;

} // namespace

class BareWindow : public QWidget
{
protected:
    void paintEvent(QPaintEvent *event) override
    {
        QWidget::paintEvent(event);
        if (m_painted)
            return;
        m_painted = true;
        // From the event loop, as the console does: after the frame in progress is done.
        QTimer::singleShot(0, this, [] {
            std::fprintf(stderr, "SHOWN %lld\n", static_cast<long long>(sinceMain.elapsed()));
            std::fflush(stderr);
        });
    }

private:
    bool m_painted = false;
};

int main(int argc, char *argv[])
{
    sinceMain.start();
    QApplication app(argc, argv);
    BareWindow window;
    window.resize(1440, 900);
    window.show();
    return app.exec();
}
