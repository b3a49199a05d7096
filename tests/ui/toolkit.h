#pragma once

#include "tests/ui/dialog.h"

namespace gaizior::test {

/// A toolkit with one dialog.
class Toolkit final : public WindowHost {
public:
    static Toolkit& Instance() {
        static Toolkit toolkit;
        return toolkit;
    }
    Toolkit() {
        SetWindowHost(this);
    }
    HWND FindItem(HWND dialog, UINT id) override {
        return dialog == Dialog() && id == kField ? Field() : nullptr;
    }
    BOOL ShowText(HWND control, const char* newText) override {
        text = isRefusing ? "" : newText;
        return control == Field() && !isRefusing;
    }
    BOOL SetReadOnly(HWND control, BOOL nowReadOnly) override {
        isReadOnly = nowReadOnly && !isRefusing;
        return control == Field() && !isRefusing;
    }
    HWND Dialog() {
        return reinterpret_cast<HWND>(this);
    }
    HWND Field() {
        return reinterpret_cast<HWND>(&text);
    }

    std::string text;
    bool isReadOnly = false;
    bool isRefusing = false;
};

} // namespace gaizior::test
