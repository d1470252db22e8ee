// A program of Qt 6 for tests: one window with a text that can be selected, or with one colour.
//
//     text_window APP_ID TITLE WIDTH HEIGHT TEXT
//     text_window APP_ID TITLE WIDTH HEIGHT #336699

#include <QApplication>
#include <QPlainTextEdit>

int main(int argc, char** argv) {
    QGuiApplication::setDesktopFileName(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    const QApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() != 6) return 2;
    QPlainTextEdit window;
    window.setWindowTitle(arguments[2]);
    window.setFixedSize(arguments[3].toInt(), arguments[4].toInt());
    if (arguments[5].startsWith('#')) {
        window.setFrameShape(QFrame::NoFrame);
        window.setStyleSheet("background: " + arguments[5]);
    } else {
        window.setPlainText(arguments[5]);
    }
    window.show();
    return QApplication::exec();
}
