#include "tests/ui/dialog.h"

namespace gaizior::test {
namespace {

constexpr int kDialog = 100; // in dialog.rc, as kField

INT_PTR CALLBACK OnMessage(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

} // namespace

Dialog::Dialog()
    : m_hWindow(::CreateDialogParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(kDialog), nullptr, &OnMessage, 0)) {}

void Dialog::Close() {
    ::DestroyWindow(m_hWindow);
}

HWND Dialog::Field() const {
    return ::GetDlgItem(m_hWindow, kField);
}

std::string Dialog::Shown() const {
    char text[512] = {};
    ::GetWindowTextA(Field(), text, sizeof(text));
    return text;
}

bool Dialog::IsReadOnly() const {
    return (::GetWindowLongA(Field(), GWL_STYLE) & ES_READONLY) != 0;
}

LanguageLibrary::LanguageLibrary() : m_hModule(::LoadLibraryA(GAIZIOR_LANGUAGE)) {}

LanguageLibrary::~LanguageLibrary() {
    ::FreeLibrary(m_hModule);
}

} // namespace gaizior::test
