// A process with settings of its own: prefs_child PRODUCT NAME writes the numbers 1 to 25 under the name, and exits
// with what it finds under "answer", or 1.

#include "gaizior/config/prefs.h"

int main(int, char** argv) {
    CZRPrefs prefs(argv[1], "screening", "1");
    for (unsigned long i = 1; i <= 25; ++i) {
        if (prefs.SaveUsrParam(argv[2], i, 0) || prefs.LoadUsrParam(argv[2], 0ul, 0) != i) {
            return 1;
        }
    }
    return static_cast<int>(prefs.LoadUsrParam("answer", 1ul, 0));
}
