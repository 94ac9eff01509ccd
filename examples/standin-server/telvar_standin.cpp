// A stand-in communication server for the demo workshop (scripts/run puts it in every server
// folder as Telvar.exe) and the tests: one X11 top-level window with a title, that takes
// WM_DELETE_WINDOW and, when asked to close, writes a mark file and ends.
//
//   telvar_standin [--net-name TEXT] [--wm-name TEXT] [--framed] [--no-delete]
//                  [--mark FILE] [--report FILE]
//
// --net-name sets _NET_WM_NAME (UTF-8); --wm-name sets WM_NAME, in Latin-1 when the text fits
// it. Without either, the title is "Telvar " followed by RefMO of Telvar.ini in the working
// folder, and both names carry it. --framed puts the window in a frame window with WM_STATE on
// the window, as a reparenting window manager does. --no-delete leaves WM_DELETE_WINDOW out of
// WM_PROTOCOLS. The mark file (default "closed.mark" in the working folder) receives "closed\n".
// Progress lines go to the report file (default $TELVAR_STANDIN_REPORT, else standard output):
// "ready <window>" once the window is mapped, "raised" after each SIGUSR1 (which raises it).
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <string>

namespace {

volatile std::sig_atomic_t gRaise = 0;

void OnRaise(int) {
    gRaise = 1;
}

// UTF-8 text as Latin-1; false when a character does not fit.
bool ToLatin1(const std::string& text, std::string& out) {
    out.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if ((c == 0xC2 || c == 0xC3) && i + 1 < text.size()) {
            out += static_cast<char>(((c & 0x03) << 6) | (static_cast<unsigned char>(text[++i]) & 0x3F));
        } else {
            return false;
        }
    }
    return true;
}

std::string RefMoOfTelvarIni() {
    std::ifstream file("Telvar.ini", std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind("RefMO=", 0) == 0) return line.substr(6);
    }
    return "?";
}

void SetText(Display* display, Window window, Atom name, Atom type, const std::string& text) {
    XChangeProperty(display, window, name, type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
}

} // namespace

int main(int argc, char** argv) {
    std::string netName, wmName, mark = "closed.mark", reportPath;
    bool haveNet = false, haveWm = false, framed = false, takesDelete = true;
    if (const char* report = std::getenv("TELVAR_STANDIN_REPORT")) reportPath = report;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--net-name" && hasValue) {
            netName = argv[++i];
            haveNet = true;
        } else if (arg == "--wm-name" && hasValue) {
            wmName = argv[++i];
            haveWm = true;
        } else if (arg == "--mark" && hasValue) {
            mark = argv[++i];
        } else if (arg == "--report" && hasValue) {
            reportPath = argv[++i];
        } else if (arg == "--framed") {
            framed = true;
        } else if (arg == "--no-delete") {
            takesDelete = false;
        } else {
            std::fprintf(stderr, "telvar_standin: unknown argument %s\n", arg.c_str());
            return 2;
        }
    }
    if (!haveNet && !haveWm) {
        netName = wmName = "Telvar " + RefMoOfTelvarIni();
        haveNet = haveWm = true;
    }
    std::FILE* report = reportPath.empty() ? stdout : std::fopen(reportPath.c_str(), "w");
    if (report == nullptr) return 3;

    // SIGUSR1 is taken only while waiting for events, so that no request is missed.
    sigset_t raiseSet, waitMask;
    sigemptyset(&raiseSet);
    sigaddset(&raiseSet, SIGUSR1);
    sigprocmask(SIG_BLOCK, &raiseSet, &waitMask);
    sigdelset(&waitMask, SIGUSR1);
    struct sigaction action {};
    action.sa_handler = OnRaise;
    sigaction(SIGUSR1, &action, nullptr);

    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        std::fprintf(stderr, "telvar_standin: no display\n");
        return 4;
    }
    const Window root = DefaultRootWindow(display);
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    const Atom netWmName = XInternAtom(display, "_NET_WM_NAME", False);
    const Atom wmState = XInternAtom(display, "WM_STATE", False);
    Atom deleteWindow = XInternAtom(display, "WM_DELETE_WINDOW", False);

    const Window top = XCreateSimpleWindow(display, root, 0, 0, 120, 40, 0, 0, 0);
    Window client = top;
    if (framed) {
        client = XCreateSimpleWindow(display, top, 0, 0, 120, 40, 0, 0, 0);
        const long state[2] = {1 /* normal */, 0};
        XChangeProperty(display, client, wmState, wmState, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(state), 2);
        XMapWindow(display, client);
    }
    if (haveNet) SetText(display, client, netWmName, utf8, netName);
    if (haveWm) {
        std::string latin1;
        if (ToLatin1(wmName, latin1))
            SetText(display, client, XA_WM_NAME, XA_STRING, latin1);
        else
            SetText(display, client, XA_WM_NAME, utf8, wmName);
    }
    if (takesDelete) XSetWMProtocols(display, client, &deleteWindow, 1);
    XSelectInput(display, top, StructureNotifyMask);
    XMapWindow(display, top);
    XEvent event;
    do XNextEvent(display, &event);
    while (event.type != MapNotify);
    std::fprintf(report, "ready %lu\n", static_cast<unsigned long>(client));
    std::fflush(report);

    const Atom protocols = XInternAtom(display, "WM_PROTOCOLS", False);
    pollfd connection{ConnectionNumber(display), POLLIN, 0};
    for (;;) {
        while (XPending(display) > 0) {
            XNextEvent(display, &event);
            if (event.type == ClientMessage && event.xclient.message_type == protocols &&
                static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow) {
                std::ofstream(mark, std::ios::binary) << "closed\n";
                XDestroyWindow(display, top);
                XCloseDisplay(display);
                return 0;
            }
        }
        if (gRaise) {
            gRaise = 0;
            XRaiseWindow(display, top);
            XSync(display, False);
            std::fprintf(report, "raised\n");
            std::fflush(report);
            continue;
        }
        if (ppoll(&connection, 1, nullptr, &waitMask) < 0 && errno != EINTR) return 5;
    }
}
