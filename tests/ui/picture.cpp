#include "tests/ui/picture.h"

#include <objidl.h>

#include <gdiplus.h>

#include <set>

namespace gaizior::test {
namespace {

constexpr CLSID kPng = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/// GDI+ works while one lives.
class GdiPlus {
public:
    GdiPlus() {
        const Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&m_nToken, &input, nullptr);
    }
    ~GdiPlus() {
        Gdiplus::GdiplusShutdown(m_nToken);
    }
    GdiPlus(const GdiPlus&) = delete;
    GdiPlus& operator=(const GdiPlus&) = delete;

private:
    ULONG_PTR m_nToken = 0;
};

void CopyWindow(HWND window, Gdiplus::Bitmap& picture) {
    Gdiplus::Graphics canvas(&picture);
    const HDC target = canvas.GetHDC();
    const HDC source = ::GetWindowDC(window);
    ::BitBlt(target, 0, 0, static_cast<int>(picture.GetWidth()), static_cast<int>(picture.GetHeight()), source, 0, 0,
             SRCCOPY);
    ::ReleaseDC(window, source);
    canvas.ReleaseHDC(target);
}

std::size_t CountColours(Gdiplus::Bitmap& picture, const RECT& area) {
    std::set<Gdiplus::ARGB> colours;
    for (LONG y = area.top; y < area.bottom; ++y) {
        for (LONG x = area.left; x < area.right; ++x) {
            Gdiplus::Color colour;
            picture.GetPixel(x, y, &colour);
            colours.insert(colour.GetValue());
        }
    }
    return colours.size();
}

} // namespace

std::size_t WritePicture(HWND window, HWND part, const wchar_t* path) {
    const GdiPlus library;
    RECT whole{};
    RECT inside{};
    ::GetWindowRect(window, &whole);
    ::GetClientRect(part, &inside);
    ::MapWindowPoints(part, nullptr, reinterpret_cast<POINT*>(&inside), 2);
    ::OffsetRect(&inside, -whole.left, -whole.top);
    Gdiplus::Bitmap picture(whole.right - whole.left, whole.bottom - whole.top, PixelFormat24bppRGB);
    CopyWindow(window, picture);
    return picture.Save(path, &kPng, nullptr) == Gdiplus::Ok ? CountColours(picture, inside) : 0;
}

} // namespace gaizior::test
