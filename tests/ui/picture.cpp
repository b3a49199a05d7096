#include "tests/ui/picture.h"

#include <objidl.h>

#include <gdiplus.h>

#include <set>

namespace gaizior::test {
namespace {

constexpr CLSID kPng = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/// GDI+, for as long as it lives.
struct Graphics {
    ULONG_PTR token = 0;
    Graphics() {
        const Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&token, &input, nullptr);
    }
    ~Graphics() {
        Gdiplus::GdiplusShutdown(token);
    }
};

} // namespace

std::size_t WritePicture(HWND window, const wchar_t* path) {
    const Graphics graphics;
    RECT area{};
    ::GetWindowRect(window, &area);
    Gdiplus::Bitmap picture(area.right - area.left, area.bottom - area.top, PixelFormat24bppRGB);
    {
        Gdiplus::Graphics canvas(&picture);
        const HDC target = canvas.GetHDC();
        const HDC source = ::GetWindowDC(window);
        ::BitBlt(target, 0, 0, area.right - area.left, area.bottom - area.top, source, 0, 0, SRCCOPY);
        ::ReleaseDC(window, source);
        canvas.ReleaseHDC(target);
    }
    std::set<Gdiplus::ARGB> colours;
    for (UINT y = 0; y < picture.GetHeight(); ++y) {
        for (UINT x = 0; x < picture.GetWidth(); ++x) {
            Gdiplus::Color colour;
            picture.GetPixel(static_cast<INT>(x), static_cast<INT>(y), &colour);
            colours.insert(colour.GetValue());
        }
    }
    return picture.Save(path, &kPng, nullptr) == Gdiplus::Ok ? colours.size() : 0;
}

} // namespace gaizior::test
