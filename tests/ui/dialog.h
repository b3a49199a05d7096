#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace gaizior::test {

constexpr unsigned kField = 101;
constexpr unsigned kNothing = 102; ///< no control has this number

/// A dialog of an application with one field, on Linux one of a toolkit.
class Dialog {
public:
    Dialog();
    ~Dialog() {
        Close();
    }
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;
    void Close();

    HWND Window() const {
        return m_hWindow;
    }
    HWND Field() const;
    /// What the field itself says.
    std::string Shown() const;
    bool IsReadOnly() const;

private:
    HWND m_hWindow;
};

/// A library with two of the labels, for width and positive.
class LanguageLibrary {
public:
    LanguageLibrary();
    ~LanguageLibrary();
    LanguageLibrary(const LanguageLibrary&) = delete;
    LanguageLibrary& operator=(const LanguageLibrary&) = delete;
    HMODULE Module() const {
        return m_hModule;
    }

private:
    HMODULE m_hModule;
};

} // namespace gaizior::test
