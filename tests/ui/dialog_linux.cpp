#include "tests/ui/dialog.h"
#include "tests/ui/toolkit.h"

#include <dlfcn.h>

namespace gaizior::test {

Dialog::Dialog() : m_hWindow(Toolkit::Instance().Dialog()) {}

void Dialog::Close() {
    WindowIsGone(Field());
    WindowIsGone(m_hWindow);
}

HWND Dialog::Field() const {
    return Toolkit::Instance().Field();
}

std::string Dialog::Shown() const {
    return Toolkit::Instance().text;
}

bool Dialog::IsReadOnly() const {
    return Toolkit::Instance().isReadOnly;
}

LanguageLibrary::LanguageLibrary() : m_hModule(static_cast<HMODULE>(::dlopen(GAIZIOR_LANGUAGE, RTLD_NOW))) {}

LanguageLibrary::~LanguageLibrary() {
    ::dlclose(m_hModule);
}

} // namespace gaizior::test
