// Launches the file named by its arguments through the program's own child processes, prints "launched", and
// waits to be killed.
#include "linux/process/PosixProcesses.h"

#include <QCoreApplication>
#include <iostream>

#include <unistd.h>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    orvane::PosixProcesses processes;
    const auto task = processes.makeTask();
    task->setExecutable(argv[1]);
    task->setArguments({argv + 2, argv + argc});
    if (const auto error = task->launch()) {
        std::cerr << *error << '\n';
        return 1;
    }
    std::cout << "launched" << std::endl;
    while (true)
        ::pause();
}
