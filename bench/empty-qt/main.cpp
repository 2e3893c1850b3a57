// The reference for `./run bench-app`: the least a Qt Widgets program does before it shows a
// window (the same Qt as orvella, started the same way), so that the application's start-up,
// memory and libraries can be read against what Qt itself costs.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QWidget window;
    window.resize(320, 240);
    window.show();
    return app.exec();
}
