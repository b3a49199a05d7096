#include "gaizior/ui/window.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/window.h"

using gaizior::CodeText;
using gaizior::Fail;
using gaizior::LastSystemError;
using gaizior::LogError;

CWnd::CWnd() = default;

CWnd::~CWnd() {
    Detach();
}

HWND CWnd::GetSafeHwnd() const {
    return m_hWnd;
}

int CWnd::Attach(HWND window) {
    Detach();
    if (!gaizior::AttachWindow(window, m_hWnd)) {
        LogError("CWnd::Attach(): ", CodeText(LastSystemError()));
        return 0;
    }
    return 1;
}

HWND CWnd::Detach() {
    const HWND window = m_hWnd;
    gaizior::DetachWindow(m_hWnd);
    return window;
}

int CWnd::SubclassDlgItem(unsigned int id, CWnd* parent) {
    const HWND item = gaizior::FindDialogItem(parent ? parent->GetSafeHwnd() : nullptr, id);
    if (!item) {
        LogError("CWnd::SubclassDlgItem(): ", "control ", id, ": ", CodeText(LastSystemError()));
        Detach();
        return 0;
    }
    return Attach(item);
}

ZRErrors::ZRErrorT CWnd::SetText(const char* text) {
    if (m_hWnd && !gaizior::ShowWindowText(m_hWnd, text ? text : "")) {
        const ZRErrors::ZRErrorT code = LastSystemError();
        return Fail("CWnd::SetText(): ", code);
    }
    return ZRErrors::e_General_NoError;
}

int CEdit::SetReadOnly(int readOnly) {
    if (m_hWnd && !gaizior::SetEditReadOnly(m_hWnd, readOnly != 0)) {
        LogError("CEdit::SetReadOnly(): ", CodeText(LastSystemError()));
        return 0;
    }
    return m_hWnd != nullptr;
}
