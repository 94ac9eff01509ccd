// The demo workshop of the benchmarks: a copy of examples/workshop with its placeholder replaced by
// the copy's folder (as scripts/run makes it), the demo machine read as start-up reads it (machine 1
// of the program manager, modify mode), and a calling program listening for the notification.
// KIRVA_BENCH_DIR chooses the disk of the copy (for instance /dev/shm), the temporary folder
// otherwise. The copy holds its own registry file and runtime folder, so that nothing outside it is
// read or written. Free of Qt: the core benchmarks use it too.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "app/CallerSettings.h"
#include "app/ProgramSettings.h"
#include "app/Startup.h"
#include "ini/profile.h"
#include "lists/clsCanaux.h"
#include "lists/clsInsertIso.h"
#include "lists/clsPlansPDC.h"
#include "platform/platform.h"
#include "translate/messages.h"

namespace kirva::bench {

namespace fs = std::filesystem;

// The repository's examples/workshop.
inline fs::path DemoWorkshopSource() {
#ifdef KIRVA_SOURCE_DIR
    return fs::path(KIRVA_SOURCE_DIR) / "examples" / "workshop";
#else
    // This header lies in <repository>/bench/editor.
    return fs::path(__FILE__).lexically_normal().parent_path().parent_path().parent_path() / "examples" /
           "workshop";
#endif
}

// Every message is dropped: a benchmark must not stop on a box.
class SilentMessages : public MessageService {
  public:
    MsgAnswer Show(const std::string&, int, MsgButtons) override { return MsgAnswer::No; }
};

// A copy of the demo workshop, removed with the object. The copy's registry file and runtime
// folder are made the process's own (KIRVA_REGISTRY, XDG_RUNTIME_DIR).
class DemoWorkshop {
  public:
    explicit DemoWorkshop(const std::string& name) {
        const char* base = std::getenv("KIRVA_BENCH_DIR");
        root_ = (base != nullptr && *base != '\0' ? fs::path(base) : fs::temp_directory_path()) /
                (name + "-" + std::to_string(::getpid()));
        fs::remove_all(root_);
        fs::copy(DemoWorkshopSource(), root_, fs::copy_options::recursive);
        const std::string placeholder = "@WORKSHOP@";
        for (const auto& entry : fs::recursive_directory_iterator(root_)) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            std::string bytes((std::istreambuf_iterator<char>(in)), {});
            in.close();
            bool changed = false;
            for (auto at = bytes.find(placeholder); at != std::string::npos;
                 at = bytes.find(placeholder, at)) {
                bytes.replace(at, placeholder.size(), root_.string());
                changed = true;
            }
            if (changed) std::ofstream(entry.path(), std::ios::binary | std::ios::trunc) << bytes;
        }
        fs::create_directories(root_ / "run");
        fs::permissions(root_ / "run", fs::perms::owner_all, fs::perm_options::replace);
        ::setenv("KIRVA_REGISTRY", (root_ / "registry.ini").c_str(), 1);
        ::setenv("XDG_RUNTIME_DIR", (root_ / "run").c_str(), 1);
        ini::ClearCache();
    }
    ~DemoWorkshop() {
        ini::ClearCache();
        std::error_code ec;
        fs::remove_all(root_, ec);
    }
    DemoWorkshop(const DemoWorkshop&) = delete;
    DemoWorkshop& operator=(const DemoWorkshop&) = delete;

    const fs::path& Root() const { return root_; }

    // Fills state as start-up does for the hand-off file of the copy: the program manager's
    // machine 1 in modify mode, read from the caller's file and its Telvar.ini into Machine().
    // False (with a line on stderr) when the demo cannot be read.
    bool LoadDemoMachine(ProgramState& state) const {
        state = ProgramState{};
        state.ExeFolder = (root_ / "exe").string() + "/";
        state.SettingsFilePath = state.ExeFolder + "Kirva.ini";
        state.VersionText = VersionText();
        if (!ReadProgramSettings(state.SettingsFilePath, state.Settings)) {
            std::fprintf(stderr, "bench: cannot read %s\n", state.SettingsFilePath.c_str());
            return false;
        }
        state.InfoCNPath = state.Settings.PathDirData + "InfoCN.ini";
        if (!ReadMachineToModify(state)) {
            std::fprintf(stderr, "bench: cannot read the demo machine\n");
            return false;
        }
        return true;
    }

  private:
    fs::path root_;
};

// The calling program of the demo (the program manager): publishes this process as its window
// ("AppHwnd") and listens on the datagram socket where the notification arrives.
class ListeningCaller {
  public:
    ListeningCaller() {
        const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        const std::string folder =
            std::string(runtime != nullptr && *runtime != '\0' ? runtime : "/tmp") + "/marovex";
        fs::create_directories(folder);
        path_ = folder + "/hwnd-" + std::to_string(::getpid()) + ".sock";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        bound_ = fd_ >= 0 && ::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                 platform::RegWriteString(platform::RegRoot::LocalMachine, kKalderonRegistryKey, "AppHwnd",
                                          std::to_string(::getpid()));
    }
    ~ListeningCaller() {
        if (fd_ >= 0) ::close(fd_);
        ::unlink(path_.c_str());
    }
    ListeningCaller(const ListeningCaller&) = delete;
    ListeningCaller& operator=(const ListeningCaller&) = delete;

    bool Listening() const { return bound_; }
    // Reads and drops the datagram waiting; false when none came.
    bool Receive() const {
        char buffer[128];
        return ::recv(fd_, buffer, sizeof buffer, MSG_DONTWAIT) > 0;
    }

  private:
    int fd_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::string path_;
    bool bound_ = false;
};

// Round n of the edits between two applies that change every list the apply writes: the first
// insertion's code, the first plan's second coefficient and the first channel's prefix (a channel
// is added when the machine has none) take one value on odd rounds and another on even ones.
inline void ChangeLists(clsInsertIso& insertions, clsPlansPDC& plans, clsCanaux& channels, int round) {
    const bool odd = round % 2 != 0;
    const std::string insertion = insertions.GetName(1);
    if (!insertion.empty()) {
        insertions.SetKey(insertion, odd ? "G90 G0 X200 Z200" : "G90 G0 X250 Z250",
                          insertions.GetBmp(insertion), insertions.GetRac(insertion));
    }
    const std::string plan = plans.FNGetRefPlan(1);
    if (!plan.empty()) {
        plans.ModifPlan(plan, plan, plans.FNGetLadX(plan), plans.FNGetLadY(plan), plans.FNGetCoeffX(plan),
                        odd ? 2.0f : 1.0f, plans.FNGetProgR(plan));
    }
    if (channels.NbElt() == 0) channels.Add("Broche", 1, "$1", "");
    const std::string channel = channels.FNGetRefCanal(1);
    channels.Modif(channel, channel, channels.FNGetNumCanal(channel), odd ? "$2" : "$1",
                   channels.FNGetSuff(channel));
}

} // namespace kirva::bench
