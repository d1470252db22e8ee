// A program of Qt 6 for tests: windows with a text that can be selected, or with one colour.
//
//     text_window APP_ID TITLE WIDTH HEIGHT TEXT [PIPE]
//     text_window APP_ID TITLE WIDTH HEIGHT #336699 [PIPE]
//
// One window, and one more for each line "WIDTH HEIGHT" that comes through the named pipe PIPE. A
// TEXT that begins with "=" is shown without it, and is selected from the start. The keys that it
// gets are written to the file TEXT_WINDOW_KEYS, where the environment names one: a line each, like
// "+118", pressed, or "-37", let go, as an X server numbers keys.

#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <vector>

namespace {

std::unique_ptr<QPlainTextEdit> shownWindow(const QStringList& arguments, const QString& width,
                                            const QString& height) {
    auto window = std::make_unique<QPlainTextEdit>();
    window->setWindowTitle(arguments[2]);
    window->setFixedSize(width.toInt(), height.toInt());
    if (arguments[5].startsWith('#')) {
        window->setFrameShape(QFrame::NoFrame);
        window->setStyleSheet("background: " + arguments[5]);
    } else if (arguments[5].startsWith('=')) {
        window->setPlainText(arguments[5].mid(1));
        window->selectAll();
    } else {
        window->setPlainText(arguments[5]);
    }
    window->show();
    return window;
}

class KeyLog : public QObject {
public:
    explicit KeyLog(const QString& path) : m_file(path) {
        m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered);
    }

    bool eventFilter(QObject* receiver, QEvent* event) override {
        const bool press = event->type() == QEvent::KeyPress;
        // The window gets each of them once, before the widgets in it do.
        if ((press || event->type() == QEvent::KeyRelease) && receiver->isWindowType()) {
            const auto* const key = dynamic_cast<QKeyEvent*>(event);
            if (key != nullptr && !key->isAutoRepeat()) {
                m_file.write((press ? '+' : '-') + QByteArray::number(key->nativeScanCode()) +
                             '\n');
            }
        }
        return false;
    }

private:
    QFile m_file;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication::setDesktopFileName(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    const QApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() < 6 || arguments.size() > 7) return 2;
    KeyLog keys(qEnvironmentVariable("TEXT_WINDOW_KEYS"));
    QCoreApplication::instance()->installEventFilter(&keys);
    std::vector<std::unique_ptr<QPlainTextEdit>> windows;
    windows.push_back(shownWindow(arguments, arguments[3], arguments[4]));
    std::unique_ptr<QSocketNotifier> more;
    if (arguments.size() == 7) {
        // For writing too, or it would be at its end whenever nobody writes.
        const int pipe = open(argv[6], O_RDWR | O_NONBLOCK | O_CLOEXEC); // NOLINT(*-vararg)
        if (pipe < 0) return 2;
        more = std::make_unique<QSocketNotifier>(pipe, QSocketNotifier::Read);
        QObject::connect(more.get(), &QSocketNotifier::activated, [&windows, arguments, pipe] {
            QByteArray line(100, '\0'); // Written at once by whoever writes, so it is a whole one.
            line.truncate(static_cast<int>(read(pipe, line.data(), 100)));
            const auto size = QString::fromLatin1(line.trimmed()).split(' ');
            if (size.size() == 2) windows.push_back(shownWindow(arguments, size[0], size[1]));
        });
    }
    return QApplication::exec();
}
