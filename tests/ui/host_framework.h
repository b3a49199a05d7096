#pragma once

#include "gaizior/values/string.h"

#include <string>

// A host's own framework, as far as the library's controls ask for one.

class CString : public ZRCString {
public:
    using ZRCString::ZRCString;
};

class CWnd {
public:
    virtual ~CWnd() = default;
    const void* GetSafeHwnd() const {
        return hasWindow ? this : nullptr;
    }
    int SubclassDlgItem(unsigned /*id*/, CWnd* parent) {
        hasWindow = parent != nullptr;
        return hasWindow;
    }
    void SetWindowText(const char* text) {
        shown = text;
    }
    bool hasWindow = false;
    std::string shown;
};

class CEdit : public CWnd {
public:
    void SetReadOnly(int readOnly) {
        isReadOnly = readOnly != 0;
    }
    bool isReadOnly = false;
};
