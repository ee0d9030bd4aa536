// The least that a Qt program with an icon and a menu in the tray can be: what Orvane's start and memory are
// held against.
#include <QApplication>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int count, char** arguments) {
    QApplication application(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap picture(22, 22);
    picture.fill(Qt::black);
    QMenu menu;
    QObject::connect(menu.addAction(QStringLiteral("Quit")), &QAction::triggered, &application,
                     &QApplication::quit);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
