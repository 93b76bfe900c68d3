// bare-tray-item WIDTH HEIGHT: the least that Qt needs for an icon in the tray and a window of that size with a word in it.

#include <QApplication>
#include <QLabel>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <csignal>

namespace {

constexpr int iconSize = 22;

QIcon makeIcon() {
    QPixmap picture(iconSize, iconSize);
    picture.fill(Qt::darkGray);
    return picture;
}

} // namespace

int main(int count, char** values) {
    QApplication application(count, values);
    const auto arguments = QApplication::arguments();
    if (arguments.size() != 3) {
        qWarning("usage: bare-tray-item WIDTH HEIGHT");
        return 64;
    }
    QSystemTrayIcon item(makeIcon());
    item.show();
    QLabel window(QStringLiteral("a window"));
    window.setFixedSize(arguments[1].toInt(), arguments[2].toInt());
    window.show();
    return QApplication::exec();
}
