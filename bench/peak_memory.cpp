#include "bench/child.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

// peak_memory WORDS...: runs a program and prints the most bytes that it had in memory. The kernel counts those of the
// process that starts it, too: this one is small.
int main(int argc, char** argv)
{
    try {
        std::cout << RunChild(std::vector<std::string>(argv + 1, argv + argc)).peakBytes << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "peak_memory: " << error.what() << '\n';
        return 1;
    }
}
