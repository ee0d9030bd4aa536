// Replaces the file named by its argument again and again, by two texts in turn, until it is killed.
#include "linux/files/AtomicWrite.h"

#include <string>

int main(int, char** argv) {
    for (char letter = 'a';; letter = letter == 'a' ? 'b' : 'a')
        if (orvane::replaceFile(argv[1], std::string(5000, letter)) != 0) return 1;
}
