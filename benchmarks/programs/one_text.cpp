// Prints one line that is the library's.
#include "gaizior/errors/error_text.h"

#include <cstdio>

int main() {
    std::puts(ZRErrToStr(ZRErrors::e_General_NoError));
}
