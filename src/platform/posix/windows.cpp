// Top-level windows of the X11 session: the list with titles and the close request.
//
// The X11 client library is loaded with dlopen at first use, so that Kirva starts on a computer
// without it (the list then fails with a reason). Its headers give the types only; nothing here
// links against it.
//
// The list walks the children of the root window from the top of the stacking order down. A
// window manager that reparents puts each client in a frame: the client is the window below the
// frame that carries WM_STATE (the frame itself when none does, as without a window manager).
// Titles are _NET_WM_NAME in UTF-8 when the window has it, else WM_NAME (Latin-1, UTF-8 or
// compound text), always returned as UTF-8.
//
// Closing sends WM_PROTOCOLS / WM_DELETE_WINDOW, the request a window manager's close box
// sends, and waits at most kCloseWaitMs until the window is destroyed or withdrawn. A window
// that does not take WM_DELETE_WINDOW is left alone (false): killing its connection would stop
// a server in the middle of a transfer.
#include "platform/platform.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <mutex>
#include <poll.h>

namespace kirva::platform {

namespace {

constexpr int kCloseWaitMs = 3000;

// The functions of libX11.so.6 used here, found once.
struct XLibrary {
    decltype(&::XOpenDisplay) OpenDisplay = nullptr;
    decltype(&::XCloseDisplay) CloseDisplay = nullptr;
    decltype(&::XDisplayName) DisplayName = nullptr;
    decltype(&::XDefaultRootWindow) RootWindowOf = nullptr;
    decltype(&::XConnectionNumber) ConnectionFd = nullptr;
    decltype(&::XInternAtom) InternAtom = nullptr;
    decltype(&::XQueryTree) QueryTree = nullptr;
    decltype(&::XGetWindowProperty) GetWindowProperty = nullptr;
    decltype(&::XFree) Free = nullptr;
    decltype(&::XSelectInput) SelectInput = nullptr;
    decltype(&::XSendEvent) SendEvent = nullptr;
    decltype(&::XSync) Sync = nullptr;
    decltype(&::XFlush) Flush = nullptr;
    decltype(&::XPending) Pending = nullptr;
    decltype(&::XNextEvent) NextEvent = nullptr;
    decltype(&::XSetErrorHandler) SetErrorHandler = nullptr;
    decltype(&::XSetIOErrorHandler) SetIOErrorHandler = nullptr;
    // Optional: compound text and the non-fatal I/O error exit (libX11 1.7 and later).
    decltype(&::Xutf8TextPropertyToTextList) Utf8TextPropertyToTextList = nullptr;
    decltype(&::XFreeStringList) FreeStringList = nullptr;
    decltype(&::XSetIOErrorExitHandler) SetIOErrorExitHandler = nullptr;
    std::string Error; // why the library cannot be used; empty when it can
};

template <typename F>
bool Find(void* library, const char* name, F& function, bool required, std::string& error) {
    function = reinterpret_cast<F>(::dlsym(library, name));
    if (function == nullptr && required && error.empty())
        error = std::string("the X11 client library lacks ") + name;
    return function != nullptr;
}

const XLibrary& X() {
    static XLibrary x;
    static std::once_flag once;
    std::call_once(once, [] {
        void* library = ::dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            const char* why = ::dlerror();
            x.Error = std::string("the X11 client library (libX11.so.6) cannot be loaded") +
                      (why != nullptr ? std::string(": ") + why : std::string());
            return;
        }
        std::string& e = x.Error;
        Find(library, "XOpenDisplay", x.OpenDisplay, true, e);
        Find(library, "XCloseDisplay", x.CloseDisplay, true, e);
        Find(library, "XDisplayName", x.DisplayName, true, e);
        Find(library, "XDefaultRootWindow", x.RootWindowOf, true, e);
        Find(library, "XConnectionNumber", x.ConnectionFd, true, e);
        Find(library, "XInternAtom", x.InternAtom, true, e);
        Find(library, "XQueryTree", x.QueryTree, true, e);
        Find(library, "XGetWindowProperty", x.GetWindowProperty, true, e);
        Find(library, "XFree", x.Free, true, e);
        Find(library, "XSelectInput", x.SelectInput, true, e);
        Find(library, "XSendEvent", x.SendEvent, true, e);
        Find(library, "XSync", x.Sync, true, e);
        Find(library, "XFlush", x.Flush, true, e);
        Find(library, "XPending", x.Pending, true, e);
        Find(library, "XNextEvent", x.NextEvent, true, e);
        Find(library, "XSetErrorHandler", x.SetErrorHandler, true, e);
        Find(library, "XSetIOErrorHandler", x.SetIOErrorHandler, true, e);
        Find(library, "Xutf8TextPropertyToTextList", x.Utf8TextPropertyToTextList, false, e);
        Find(library, "XFreeStringList", x.FreeStringList, false, e);
        Find(library, "XSetIOErrorExitHandler", x.SetIOErrorExitHandler, false, e);
    });
    return x;
}

// Errors of the connection in use. A window can vanish between two requests: its BadWindow
// must not end the program (the library's default handler exits), so errors are noted here.
Display* gDisplay = nullptr;
int gLastError = 0;
bool gConnectionLost = false;
XErrorHandler gPreviousHandler = nullptr;

int NoteError(Display* display, XErrorEvent* event) {
    if (display == gDisplay) {
        gLastError = event->error_code;
        return 0;
    }
    return gPreviousHandler != nullptr ? gPreviousHandler(display, event) : 0;
}

int NoteConnectionLost(Display*) {
    gConnectionLost = true;
    return 0;
}

void NoteConnectionLostExit(Display*, void*) {
    gConnectionLost = true;
}

// One connection to the display for the time of one call, with the error handlers above.
class Connection {
  public:
    Connection(const XLibrary& x, std::string& error) : x_(x) {
        if (!x.Error.empty()) {
            error = x.Error;
            return;
        }
        const char* name = std::getenv("DISPLAY");
        if (name == nullptr || *name == '\0') {
            error = "no X display: DISPLAY is not set";
            return;
        }
        display_ = x.OpenDisplay(nullptr);
        if (display_ == nullptr) {
            error = std::string("the X display \"") + x.DisplayName(nullptr) + "\" cannot be reached";
            return;
        }
        gDisplay = display_;
        gLastError = 0;
        gConnectionLost = false;
        gPreviousHandler = x.SetErrorHandler(NoteError);
        previousIoHandler_ = x.SetIOErrorHandler(NoteConnectionLost);
        if (x.SetIOErrorExitHandler != nullptr)
            x.SetIOErrorExitHandler(display_, NoteConnectionLostExit, nullptr);
    }
    ~Connection() {
        if (display_ == nullptr) return;
        // After a lost connection the library must not be called on it again.
        if (!gConnectionLost) {
            x_.Sync(display_, False);
            x_.CloseDisplay(display_);
        }
        x_.SetErrorHandler(gPreviousHandler);
        x_.SetIOErrorHandler(previousIoHandler_);
        gDisplay = nullptr;
        gPreviousHandler = nullptr;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Display* get() const { return display_; }
    bool Usable() const { return display_ != nullptr && !gConnectionLost; }
    Atom Intern(const char* name) const { return x_.InternAtom(display_, name, False); }

  private:
    const XLibrary& x_;
    Display* display_ = nullptr;
    XIOErrorHandler previousIoHandler_ = nullptr;
};

// A window property read whole: its type, format and bytes (items of 8, 16 or 32 bits; those of
// 32 bits are longs in memory, as the library hands them over).
struct Property {
    Atom Type = None;
    int Format = 0;
    unsigned long Count = 0;
    std::string Bytes;
};

bool ReadProperty(const XLibrary& x, Display* display, Window window, Atom name, Property& property) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    gLastError = 0;
    // Up to 1 MB (in 32-bit units): a title or a window list is far smaller.
    if (x.GetWindowProperty(display, window, name, 0, 256 * 1024, False, AnyPropertyType, &type, &format,
                            &count, &after, &data) != Success ||
        gLastError != 0 || gConnectionLost) {
        if (data != nullptr) x.Free(data);
        return false;
    }
    property.Type = type;
    property.Format = format;
    property.Count = count;
    const std::size_t unit = format == 8 ? 1 : format == 16 ? sizeof(short) : sizeof(long);
    property.Bytes.assign(data != nullptr ? reinterpret_cast<const char*>(data) : "",
                          data != nullptr ? count * unit : 0);
    if (data != nullptr) x.Free(data);
    return type != None;
}

std::string Latin1ToUtf8(const std::string& bytes) {
    std::string text;
    for (const unsigned char c : bytes) {
        if (c < 0x80) {
            text += static_cast<char>(c);
        } else {
            text += static_cast<char>(0xC0 | (c >> 6));
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return text;
}

struct Atoms {
    Atom NetWmName, Utf8String, CompoundText, WmState, WmProtocols, WmDeleteWindow;
    explicit Atoms(const Connection& c)
        : NetWmName(c.Intern("_NET_WM_NAME")), Utf8String(c.Intern("UTF8_STRING")),
          CompoundText(c.Intern("COMPOUND_TEXT")), WmState(c.Intern("WM_STATE")),
          WmProtocols(c.Intern("WM_PROTOCOLS")), WmDeleteWindow(c.Intern("WM_DELETE_WINDOW")) {}
};

// The title of a window as UTF-8 (empty when it has none).
std::string TitleOf(const XLibrary& x, Display* display, const Atoms& atoms, Window window) {
    Property p;
    if (ReadProperty(x, display, window, atoms.NetWmName, p) && p.Type == atoms.Utf8String && p.Format == 8)
        return p.Bytes;
    p = Property{};
    if (!ReadProperty(x, display, window, XA_WM_NAME, p) || p.Format != 8) return {};
    if (p.Type == atoms.Utf8String) return p.Bytes;
    // Compound text without escape sequences is Latin-1; with them the library converts it.
    if (p.Type == atoms.CompoundText && p.Bytes.find('\x1b') != std::string::npos) {
        if (x.Utf8TextPropertyToTextList != nullptr && x.FreeStringList != nullptr) {
            XTextProperty text{reinterpret_cast<unsigned char*>(p.Bytes.data()), p.Type, 8, p.Count};
            char** list = nullptr;
            int parts = 0;
            if (x.Utf8TextPropertyToTextList(display, &text, &list, &parts) >= Success && list != nullptr) {
                std::string joined;
                for (int i = 0; i < parts; ++i) joined += list[i];
                x.FreeStringList(list);
                return joined;
            }
        }
        std::string ascii; // the printable ASCII of it, as a last resort
        for (const char c : p.Bytes)
            if (c >= 0x20 && c < 0x7F) ascii += c;
        return ascii;
    }
    return Latin1ToUtf8(p.Bytes);
}

bool HasProperty(const XLibrary& x, Display* display, Window window, Atom name) {
    Property p;
    return ReadProperty(x, display, window, name, p);
}

// Children of a window from the top of the stacking order down (the server lists them bottom up).
std::vector<Window> ChildrenTopFirst(const XLibrary& x, Display* display, Window parent) {
    Window root = None, parentOut = None;
    Window* children = nullptr;
    unsigned int count = 0;
    gLastError = 0;
    std::vector<Window> list;
    if (x.QueryTree(display, parent, &root, &parentOut, &children, &count) != 0 && gLastError == 0 &&
        !gConnectionLost)
        list.assign(children, children + count);
    if (children != nullptr) x.Free(children);
    std::reverse(list.begin(), list.end());
    return list;
}

// The client window of a top-level window: the window itself or the first window below it,
// breadth first, that carries WM_STATE; the window itself when none does.
Window ClientOf(const XLibrary& x, Display* display, const Atoms& atoms, Window topLevel) {
    if (HasProperty(x, display, topLevel, atoms.WmState)) return topLevel;
    std::deque<Window> queue{topLevel};
    // A frame holds its client within a few levels; the bound keeps a deep tree from costing much.
    for (int visited = 0; !queue.empty() && visited < 64 && !gConnectionLost; ++visited) {
        const Window window = queue.front();
        queue.pop_front();
        for (const Window child : ChildrenTopFirst(x, display, window)) {
            if (HasProperty(x, display, child, atoms.WmState)) return child;
            queue.push_back(child);
        }
    }
    return topLevel;
}

// Whether the window lists WM_DELETE_WINDOW among its WM_PROTOCOLS.
bool TakesDeleteWindow(const XLibrary& x, Display* display, const Atoms& atoms, Window window) {
    Property p;
    if (!ReadProperty(x, display, window, atoms.WmProtocols, p) || p.Format != 32) return false;
    const auto* items = reinterpret_cast<const long*>(p.Bytes.data());
    for (unsigned long i = 0; i < p.Count; ++i)
        if (static_cast<Atom>(items[i]) == atoms.WmDeleteWindow) return true;
    return false;
}

} // namespace

bool ListTopLevelWindows(std::vector<TopLevelWindow>& windows, std::string& error) {
    windows.clear();
    error.clear();
    const XLibrary& x = X();
    Connection connection(x, error);
    if (!connection.Usable()) return false;
    Display* display = connection.get();
    const Atoms atoms(connection);
    const Window root = x.RootWindowOf(display);
    std::vector<TopLevelWindow> found;
    for (const Window topLevel : ChildrenTopFirst(x, display, root)) {
        const Window client = ClientOf(x, display, atoms, topLevel);
        found.push_back({static_cast<std::int64_t>(client), TitleOf(x, display, atoms, client)});
    }
    if (!connection.Usable()) {
        error = "the connection to the X display was lost";
        return false;
    }
    windows = std::move(found);
    return true;
}

bool CloseTopLevelWindow(std::int64_t handle) {
    if (handle <= 0) return false;
    const XLibrary& x = X();
    std::string error;
    Connection connection(x, error);
    if (!connection.Usable()) return false;
    Display* display = connection.get();
    const Atoms atoms(connection);
    const auto window = static_cast<Window>(handle);

    if (!TakesDeleteWindow(x, display, atoms, window)) return false;
    // Watch the window before asking, so that its end cannot be missed.
    gLastError = 0;
    x.SelectInput(display, window, StructureNotifyMask);
    x.Sync(display, False);
    if (gLastError != 0 || gConnectionLost) return false; // gone already

    XEvent request{};
    request.xclient.type = ClientMessage;
    request.xclient.window = window;
    request.xclient.message_type = atoms.WmProtocols;
    request.xclient.format = 32;
    request.xclient.data.l[0] = static_cast<long>(atoms.WmDeleteWindow);
    request.xclient.data.l[1] = CurrentTime;
    x.SendEvent(display, window, False, NoEventMask, &request);
    x.Sync(display, False);
    if (gLastError != 0 || gConnectionLost) return false;

    // Delivered. Wait until the window is destroyed or withdrawn (unmapped), a few seconds at
    // most: a server that asks its user first is not waited for longer.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kCloseWaitMs);
    const int fd = x.ConnectionFd(display);
    for (;;) {
        while (!gConnectionLost && x.Pending(display) > 0) {
            XEvent event;
            x.NextEvent(display, &event);
            if ((event.type == DestroyNotify && event.xdestroywindow.window == window) ||
                (event.type == UnmapNotify && event.xunmap.window == window))
                return true;
        }
        if (gConnectionLost) return true; // the request had gone out before
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return true;
        pollfd wait{fd, POLLIN, 0};
        ::poll(&wait, 1, static_cast<int>(left.count()));
    }
}

} // namespace kirva::platform
