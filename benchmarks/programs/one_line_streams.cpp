// Prints one line by means of C++'s library.
#include <iostream>

int main() {
    std::cout << "operation completed\n";
}
