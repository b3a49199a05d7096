#include <gaizior/gaizior.h>

#include <cstring>
#include <iostream>

/// Uses one function of each family as an application would that found the library installed.
int main() {
    char packet[64];
    if (ZRCreateMessage(1, 2, 3, 4, "START", "", packet, sizeof(packet) - 1) != ZRErrors::e_General_NoError ||
        std::strcmp(packet, "1;2;3;4;START;") != 0) {
        std::cerr << "the packet reads " << packet << '\n';
        return 1;
    }
    ZRErrorC::Stack("main(): ", ZRErrors::e_Command_TimedOut, "on purpose");
    char* text = ZRErrorC::GetStack()->ToString(false, true);
    const bool found = std::strstr(text, "Command timed out") != nullptr && ZRErrorC::IsEmpty();
    std::cout << text << ZRErrToStr(ZRErrors::e_Command_TimedOut) << '\n';
    ZRErrorC::FreeString(text);
    return found ? 0 : 1;
}
