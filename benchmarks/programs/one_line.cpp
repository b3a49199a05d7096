// Prints one line.
#include <cstdio>

int main() {
    std::puts("operation completed");
}
