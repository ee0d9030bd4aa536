// The least that a Qt program without a screen can be: says a line, and waits. What Orvane's start and memory
// on a terminal are held against.
#include <QCoreApplication>
#include <cstdio>

int main(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    std::puts("here");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
