// The viewer's window on Windows, painted by QuibDrawToHDC.
#include "examples/viewer/keys.h"
#include "examples/viewer/options.h"
#include "examples/viewer/view.h"

#include <windows.h>

#include <shellapi.h>
#include <windowsx.h>

#include <string>

namespace
{

View view;

void redraw(HWND window)
{
    renderFrame(&view);
    InvalidateRect(window, nullptr, FALSE);
}

void paint(HWND window)
{
    PAINTSTRUCT area;
    const HDC hdc = BeginPaint(window, &area);
    QuibDrawToHDC(view.frame.get(), hdc, 0, 0);
    EndPaint(window, &area);
}

void drag(HWND window, POINT mouse)
{
    if (moveMouse(&view, mouse.x, mouse.y))
        redraw(window);
}

void zoom(HWND window, int units, POINT screen)
{
    ScreenToClient(window, &screen);
    turnWheel(&view, static_cast<double>(units) / WHEEL_DELTA, screen.x, screen.y);
    redraw(window);
}

void pressKey(HWND window, WPARAM key)
{
    if (key == VK_ESCAPE) {
        DestroyWindow(window);
        return;
    }
    // Letters, digits and Enter have their codes in ASCII.
    char pressed = key < 128 ? static_cast<char>(key) : '\0';
    if (key == VK_UP || key == VK_DOWN)
        pressed = key == VK_UP ? upKey : downKey;
    if (pressKey(&view, pressed))
        redraw(window);
}

void openDropped(HWND window, HDROP dropped)
{
    char file[MAX_PATH] = "";
    DragQueryFileA(dropped, 0, file, sizeof file);
    DragFinish(dropped);
    std::string problem;
    if (!openPicture(&view, file, &problem)) {
        MessageBoxA(window, problem.c_str(), "QuibTool viewer", MB_OK | MB_ICONWARNING);
        return;
    }
    fitPicture(&view);
    redraw(window);
}

void changeSize(HWND window, int32_t width, int32_t height)
{
    if (width == 0 || height == 0) // minimised
        return;
    if (width == view.frame->width && height == view.frame->height)
        return;
    resizeFrame(&view, width, height);
    redraw(window);
}

LRESULT CALLBACK handleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
    case WM_PAINT:
        paint(window);
        return 0;
    case WM_ERASEBKGND: // the frame covers it all
        return 1;
    case WM_LBUTTONDOWN:
        SetCapture(window);
        pressMouse(&view, at.x, at.y);
        return 0;
    case WM_LBUTTONUP:
        ReleaseCapture();
        releaseMouse(&view);
        return 0;
    case WM_MOUSEMOVE:
        drag(window, at);
        return 0;
    case WM_MOUSEWHEEL:
        zoom(window, GET_WHEEL_DELTA_WPARAM(wParam), at);
        return 0;
    case WM_KEYDOWN:
        pressKey(window, wParam);
        return 0;
    case WM_DROPFILES:
        openDropped(window, reinterpret_cast<HDROP>(wParam));
        return 0;
    case WM_SIZE:
        changeSize(window, LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcA(window, message, wParam, lParam);
    }
}

HWND makeWindow(int32_t width, int32_t height)
{
    WNDCLASSA kind{};
    kind.lpfnWndProc = handleMessage;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.lpszClassName = "QuibViewer";
    RegisterClassA(&kind);
    RECT outer{0, 0, width, height};
    AdjustWindowRect(&outer, WS_OVERLAPPEDWINDOW, FALSE);
    return CreateWindowA(kind.lpszClassName, "QuibTool viewer", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                         CW_USEDEFAULT, outer.right - outer.left, outer.bottom - outer.top, nullptr,
                         nullptr, kind.hInstance, nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (const std::optional<int> status = startViewer(argc, argv, &options, &view))
        return *status;
    const HWND window = makeWindow(options.width, options.height);
    if (!window)
        return 1;
    DragAcceptFiles(window, TRUE);
    ShowWindow(window, SW_SHOWNORMAL);
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return 0;
}
