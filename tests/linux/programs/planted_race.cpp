// Races on purpose between a thread and what Qt calls on the main one: in a number, in a list of Qt's, in
// memory that is freed. The argument says which. That ThreadSanitizer tells of each shows that what it is
// told to overlook is none of ours.
#include <QCoreApplication>
#include <QList>
#include <QTimer>
#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace {

/// Runs both at the same time, `ours` called by Qt's event loop on the main thread.
void race(const std::function<void()>& ours, const std::function<void()>& theirs) {
    // Says nothing of who was first, as a lock would.
    std::atomic<int> ready = 0;
    const auto meet = [&ready] {
        ready.fetch_add(1, std::memory_order_relaxed);
        while (ready.load(std::memory_order_relaxed) < 2)
            std::this_thread::yield();
    };
    std::thread other([&] {
        meet();
        theirs();
    });
    QTimer::singleShot(0, [&] {
        meet();
        ours();
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    other.join();
}

void number() {
    int number = 0;
    race([&] { ++number; }, [&] { ++number; });
}

void list() {
    QList<int> numbers{1};
    race([&] { numbers[0] = 2; }, [&] { numbers[0] = 3; });
}

void freed() {
    auto* number = new int;
    race([&] { delete number; }, [&] { *number = 1; });
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::map<std::string, void (*)()> races{{"number", number}, {"list", list}, {"freed", freed}};
    const auto chosen = races.find(argc == 2 ? argv[1] : "");
    if (chosen == races.end()) return 2;
    chosen->second();
}
