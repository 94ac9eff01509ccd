// Loads of the INI engine from other processes, run for minutes by the soak driver (scripts/soak)
// and, the first two, with small counts by the reliability tests of the core suite:
//   kill      a writer rewriting a file of thousands of keys in one batch per version is killed
//             with SIGKILL at random points; each time the file must be exactly one complete
//             version, the last one it reported or the one after.
//   writers   several processes write distinct keys into one file at the same time, one flush per
//             key; afterwards every key is there once with its value.
//   bad paths paths that are not usable settings files, read and written with every kind of write;
//             each call answers within its deadline and no other file of the folder changes.
// The engine runs in forked children, each with an alarm so that a hang ends the child instead of
// the load; the checks run in the calling process. Each load returns its counters and a line per
// fault it saw. POSIX only.
#pragma once
#ifndef _WIN32

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ini/profile.h"
#include "ini/store.h"
#include "support/TempDir.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kirva::test::loads {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr uid_t kUnprivileged = 65534; // "nobody"

// Runs body in a forked child that its alarm ends after `deadline` seconds; the child's pid, or
// -1 when there is no child.
inline pid_t Spawn(unsigned deadline, const std::function<int()>& body) {
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    ::alarm(deadline);
    int code = 3;
    try {
        code = body();
    } catch (...) {
    }
    ::_exit(code);
}

// The child's wait status, once it has ended.
inline int Reap(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

inline bool ExitedWith(int status, int code) {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

inline std::string Exited(int status) {
    if (WIFEXITED(status)) return "exit " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) return "stuck (ended by its alarm)";
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(status);
}

struct Pipe {
    Pipe() {
        if (::pipe(fd) != 0) fd[0] = fd[1] = -1;
    }
    ~Pipe() {
        CloseRead();
        CloseWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    bool Ok() const { return fd[0] >= 0; }
    void CloseRead() {
        if (fd[0] >= 0) ::close(fd[0]);
        fd[0] = -1;
    }
    void CloseWrite() {
        if (fd[1] >= 0) ::close(fd[1]);
        fd[1] = -1;
    }
    // Everything until the writers closed their end.
    std::string Drain() const {
        std::string all;
        char buffer[256];
        for (;;) {
            const ssize_t got = ::read(fd[0], buffer, sizeof buffer);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return all;
            all.append(buffer, static_cast<std::size_t>(got));
        }
    }
    int fd[2];
};

// Whole numbers from low to high, both included.
struct Range {
    int low, high;
};
inline int Between(std::mt19937& rng, Range range) {
    return range.low + static_cast<int>(rng() % static_cast<unsigned>(range.high - range.low + 1));
}

inline std::string Padded(int n, int width) {
    std::string text = std::to_string(n);
    return std::string(static_cast<std::size_t>(std::max(0, width - static_cast<int>(text.size()))), '0') +
           text;
}

inline Clock::time_point After(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// ---------------------------------------------------------------- kill

struct Layout {
    int sections = 0;
    int keys = 0;              // per section
    std::size_t valueSize = 0; // at least
};

// Every value of a version names it.
inline std::string ValueOf(const Layout& layout, int version) {
    const std::string tag = "v" + std::to_string(version) + ";";
    std::string value;
    while (value.size() < layout.valueSize) value += tag;
    return value;
}

// The bytes of a complete version, as the engine keeps them: every line in place, CR LF.
inline std::string Render(const Layout& layout, int version) {
    const std::string value = ValueOf(layout, version);
    std::string text;
    for (int s = 0; s < layout.sections; ++s) {
        text += "[S" + Padded(s, 3) + "]\r\n";
        for (int k = 0; k < layout.keys; ++k) text += "k" + Padded(k, 3) + "=" + value + "\r\n";
    }
    return text;
}

// The version named by the first value of the file; -1 when there is none.
inline int FirstVersionIn(const std::string& bytes) {
    const std::size_t at = bytes.find("=v");
    if (at == std::string::npos) return -1;
    int version = -1;
    const char* first = bytes.data() + at + 2;
    const auto [end, error] = std::from_chars(first, bytes.data() + bytes.size(), version);
    return error == std::errc() && end != first ? version : -1;
}

// Rewrites every key with the version in one batch: one atomic replace.
inline bool WriteVersion(const std::string& path, const Layout& layout, int version) {
    const std::string value = ValueOf(layout, version);
    ini::BatchScope batch;
    bool ok = true;
    for (int s = 0; s < layout.sections; ++s)
        for (int k = 0; k < layout.keys; ++k)
            ok = ini::WriteProfileString(path, "S" + Padded(s, 3), "k" + Padded(k, 3), value) && ok;
    return batch.Flush() && batch.Ok() && ok;
}

// A temporary file a writer of `name` left when it was killed: ".<name>.<...>.tmp".
inline bool IsLeftTemporary(const std::string& entry, const std::string& name) {
    const std::string head = "." + name + ".";
    const std::string tail = ".tmp";
    return entry.size() > head.size() + tail.size() && entry.compare(0, head.size(), head) == 0 &&
           entry.compare(entry.size() - tail.size(), tail.size(), tail) == 0;
}

struct KillOptions {
    double seconds = 3600;       // no series or round starts after this time
    int series = 1 << 30;        // files, each with a new layout...
    int rounds = 20;             // ...and killed writers
    Range sections{5, 60};       // of 20 keys each
    Range valueSize{20, 800};    // bytes
    Range reports{0, 3};         // versions the writer reports before the kill is timed
    int spinIterations = 2;      // the kill comes up to this many version writes later
    unsigned childDeadline = 20; // seconds
};

struct KillResult {
    long kills = 0, inside = 0, checked = 0, flushes = 0, torn = 0, wrong = 0, failed = 0;
    std::vector<std::string> faults;
};

inline KillResult RunKillLoad(const KillOptions& options, const fs::path& scratch, std::mt19937& rng) {
    const auto end = After(options.seconds);
    KillResult r;
    const auto fault = [&](long& counter, std::string text) {
        ++counter;
        r.faults.push_back(std::move(text));
    };
    for (int series = 0; series < options.series && Clock::now() < end; ++series) {
        const Layout layout{Between(rng, options.sections), 20,
                            static_cast<std::size_t>(Between(rng, options.valueSize))};
        const fs::path folder = scratch / ("kill-" + std::to_string(series));
        const std::string name = "big.ini";
        const std::string path = (folder / name).string();
        WriteBytes(path, Render(layout, 0));
        ini::ClearCache();
        // One version written here tells how long a writer's iteration takes on this disk.
        const auto start = Clock::now();
        if (!WriteVersion(path, layout, 1)) fault(r.failed, "the first version was not written");
        const auto iteration = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start);
        ini::ClearCache();
        if (ReadBytes(path) != Render(layout, 1)) fault(r.torn, "the first version is not on disk");
        int onDisk = 1;
        bool whole = true;
        std::size_t left = 0; // temporaries of killed writers
        for (int round = 0; round < options.rounds && whole && Clock::now() < end; ++round) {
            Pipe flushed;
            const int first = onDisk + 1;
            const pid_t writer = !flushed.Ok() ? -1 : Spawn(options.childDeadline, [&] {
                flushed.CloseRead();
                for (int version = first;; ++version) {
                    const char done = WriteVersion(path, layout, version) ? 'w' : 'f';
                    if (::write(flushed.fd[1], &done, 1) != 1 || done == 'f') return 1;
                }
            });
            flushed.CloseWrite();
            if (writer < 0) {
                fault(r.failed, "no writer process");
                break;
            }
            // Let the writer finish some versions, then kill it at a random point of the next.
            std::string reported;
            const auto wait = static_cast<std::size_t>(Between(rng, options.reports));
            for (char c = 0; reported.size() < wait && ::read(flushed.fd[0], &c, 1) == 1;)
                reported.push_back(c);
            const auto spin = Clock::now() + std::chrono::nanoseconds(
                                                 rng() % (options.spinIterations * iteration.count() + 1));
            while (Clock::now() < spin) {
            }
            ::kill(writer, SIGKILL);
            const int status = Reap(writer);
            reported += flushed.Drain();
            ++r.kills;
            const auto failures = std::count(reported.begin(), reported.end(), 'f');
            r.flushes += static_cast<long>(std::count(reported.begin(), reported.end(), 'w'));
            if (failures > 0)
                fault(r.failed, "a flush of the writer failed");
            else if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL)
                fault(r.failed, "the writer ended before its kill: " + Exited(status));

            // The file is one complete version: the last one reported, or the one whose flush
            // renamed its file but had no time to report.
            const std::string bytes = ReadBytes(path);
            const int version = FirstVersionIn(bytes);
            const int last = onDisk + static_cast<int>(reported.size());
            ++r.checked;
            if (version < 0 || bytes != Render(layout, version)) {
                fault(r.torn,
                      "torn file in " + folder.string() + " (" + std::to_string(bytes.size()) + " bytes)");
                whole = false;
                break;
            }
            if (version != last && version != last + 1)
                fault(r.wrong, "version " + std::to_string(version) + " on disk, writer reported up to " +
                                   std::to_string(last));
            onDisk = version;

            // Nothing but the file and the temporaries of killed writers.
            if (!fs::is_regular_file(fs::symlink_status(path))) fault(r.torn, path + " is no regular file");
            std::size_t now = 0;
            for (const auto& entry : fs::directory_iterator(folder)) {
                const std::string entryName = entry.path().filename().string();
                if (entryName == name) continue;
                if (!IsLeftTemporary(entryName, name)) fault(r.torn, "unexpected " + entry.path().string());
                ++now;
            }
            if (now > left) ++r.inside;
            left = now;
        }
        // The next writer is not hindered by what the killed ones left.
        if (whole && !WriteVersion(path, layout, onDisk + 1))
            fault(r.failed, "no version written after the kills");
        else if (whole && ReadBytes(path) != Render(layout, onDisk + 1))
            fault(r.torn, "the version written after the kills is not on disk");
        ini::ClearCache();
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
    return r;
}

// ---------------------------------------------------------------- writers

struct WritersOptions {
    double seconds = 3600; // no round starts after this time
    int rounds = 1 << 30;
    Range writers{4, 6}; // processes
    Range keys{50, 200}; // each
    int attempts = 20;   // a write refused because the file stayed locked is tried again
    unsigned childDeadline = 20;
};

struct WritersResult {
    long rounds = 0, writes = 0, retried = 0, failedWriters = 0, lost = 0, extra = 0;
    std::vector<std::string> faults;
};

inline std::string KeyLine(int writer, int key) {
    return "P" + std::to_string(writer) + "_" + std::to_string(key) + "=" +
           std::to_string(writer * 1000 + key);
}

inline WritersResult RunWritersLoad(const WritersOptions& options, const fs::path& scratch,
                                    std::mt19937& rng) {
    const auto end = After(options.seconds);
    WritersResult r;
    ini::ClearCache();
    while (r.rounds < options.rounds && Clock::now() < end) {
        const int writers = Between(rng, options.writers);
        const int keys = Between(rng, options.keys);
        const fs::path folder = scratch / ("writers-" + std::to_string(r.rounds));
        fs::create_directories(folder);
        const std::string path = (folder / "shared.ini").string(); // missing: the first writers race
        Pipe gate, retries;
        if (!gate.Ok() || !retries.Ok()) {
            ++r.failedWriters;
            r.faults.push_back("no pipe");
            break;
        }
        std::vector<pid_t> pids;
        for (int p = 0; p < writers; ++p) {
            const pid_t pid = Spawn(options.childDeadline, [&, p] {
                gate.CloseWrite();
                retries.CloseRead();
                char c;
                while (::read(gate.fd[0], &c, 1) < 0 && errno == EINTR) {
                }
                for (int k = 0; k < keys; ++k) {
                    const std::string key = "P" + std::to_string(p) + "_" + std::to_string(k);
                    int attempt = 0;
                    while (!ini::WriteProfileString(path, "Writers", key, std::to_string(p * 1000 + k))) {
                        (void)!::write(retries.fd[1], "r", 1);
                        if (++attempt == options.attempts) return 1;
                    }
                }
                return 0;
            });
            if (pid > 0)
                pids.push_back(pid);
            else
                r.faults.push_back("no writer process");
        }
        gate.CloseRead();
        gate.CloseWrite(); // all start together
        retries.CloseWrite();
        r.retried += static_cast<long>(retries.Drain().size());
        const long failedBefore = r.failedWriters;
        r.failedWriters += writers - static_cast<long>(pids.size());
        for (const pid_t pid : pids) {
            const int status = Reap(pid);
            if (!ExitedWith(status, 0)) {
                ++r.failedWriters;
                r.faults.push_back("a writer of round " + std::to_string(r.rounds) +
                                   " ended: " + Exited(status));
            }
        }

        // One header and every key once, with its value; the order is that of the flushes.
        const std::string bytes = ReadBytes(path);
        long stray = 0;
        std::size_t at = bytes.rfind("[Writers]\r\n", 0) == 0 ? 11 : 0;
        if (at == 0) ++stray;
        std::multiset<std::string> lines;
        while (at < bytes.size()) {
            std::size_t stop = bytes.find("\r\n", at);
            if (stop == std::string::npos) ++stray; // the last line has no line end
            lines.insert(bytes.substr(at, stop == std::string::npos ? std::string::npos : stop - at));
            at = stop == std::string::npos ? bytes.size() : stop + 2;
        }
        long lost = 0;
        for (int p = 0; p < writers; ++p)
            for (int k = 0; k < keys; ++k) {
                const auto found = lines.find(KeyLine(p, k));
                if (found == lines.end())
                    ++lost;
                else
                    lines.erase(found);
                ++r.writes;
            }
        stray += static_cast<long>(lines.size());
        if (std::distance(fs::directory_iterator(folder), fs::directory_iterator()) != 1) ++stray;
        r.lost += lost;
        r.extra += stray;
        if (lost || stray)
            r.faults.push_back("round " + std::to_string(r.rounds) + " in " + folder.string() +
                               " lost keys (" + std::to_string(lost) + " keys lost, " +
                               std::to_string(stray) + " stray lines or files)");
        else if (r.failedWriters == failedBefore)
            fs::remove_all(folder);
        ++r.rounds;
    }
    return r;
}

// ---------------------------------------------------------------- bad paths

// Every entry below a folder, links not followed: what it is, and a regular file's bytes.
inline std::map<std::string, std::string> Snapshot(const fs::path& folder) {
    std::map<std::string, std::string> entries;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(folder, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path& p = it->path();
        struct stat info {};
        std::string what = "vanished";
        if (::lstat(p.c_str(), &info) == 0) {
            what = "mode " + std::to_string(info.st_mode) + " uid " + std::to_string(info.st_uid);
            if (S_ISLNK(info.st_mode)) what += " link to " + fs::read_symlink(p).string();
            if (S_ISREG(info.st_mode)) {
                what += " size " + std::to_string(info.st_size) + " modified " +
                        std::to_string(info.st_mtim.tv_sec) + "." + std::to_string(info.st_mtim.tv_nsec);
                if (info.st_size < (1 << 20)) what += " bytes " + ReadBytes(p);
            }
        }
        entries[p.lexically_relative(folder).string()] = what;
    }
    if (ec) entries["(listing failed)"] = ec.message();
    return entries;
}

struct BadPath {
    const char* name;
    const char* target; // the path given to the engine, in the case's folder
    // Makes the entry (and whatever it needs) in the folder.
    void (*make)(const fs::path& folder);
    bool unprivileged;   // a permission case: run by an ordinary user even when the load runs as root
    const char* read;    // what a read of [S] k gives ("dflt" is the default)
    bool writes;         // a set-key write succeeds (every other kind of write is refused alike)...
    const char* written; // ...and this file of the folder then holds `bytes`
    std::string bytes;
};

inline const BadPath kBadPaths[] = {
    {"Folder", "settings.ini", [](const fs::path& f) { WriteBytes(f / "settings.ini" / "inner", "x"); },
     false, "dflt", false, "", ""},
    {"Fifo", "settings.ini", [](const fs::path& f) { ::mkfifo((f / "settings.ini").c_str(), 0666); }, false,
     "dflt", false, "", ""},
    {"LinkToDevNull", "settings.ini",
     [](const fs::path& f) { fs::create_symlink("/dev/null", f / "settings.ini"); }, false, "dflt", false, "",
     ""},
    {"OverSizeLimit", "settings.ini",
     [](const fs::path& f) {
         WriteBytes(f / "settings.ini", "[S]\r\nk=big\r\n");
         fs::resize_file(f / "settings.ini", ini::store::kMaxFileSize + 1); // sparse
     },
     false, "dflt", false, "", ""},
    {"WriteOnly", "settings.ini",
     [](const fs::path& f) {
         WriteBytes(f / "settings.ini", "[S]\r\nk=hidden\r\n");
         ::chmod((f / "settings.ini").c_str(), 0200);
         if (::geteuid() == 0) (void)!::chown((f / "settings.ini").c_str(), kUnprivileged, kUnprivileged);
     },
     true, "dflt", false, "", ""},
    {"InReadOnlyFolder", "locked/settings.ini",
     [](const fs::path& f) {
         WriteBytes(f / "locked" / "settings.ini", "[S]\r\nk=stored\r\n");
         if (::geteuid() == 0)
             (void)!::chown((f / "locked" / "settings.ini").c_str(), kUnprivileged, kUnprivileged);
         ::chmod((f / "locked").c_str(), 0555);
     },
     true, "stored", false, "", ""},
    {"LinkLoop", "a.ini",
     [](const fs::path& f) {
         fs::create_symlink("b.ini", f / "a.ini");
         fs::create_symlink("a.ini", f / "b.ini");
     },
     false, "dflt", false, "", ""},
    // A dangling link: the file is created where the link points, as a shell's ">" would.
    {"DanglingLink", "settings.ini",
     [](const fs::path& f) { fs::create_symlink("target.ini", f / "settings.ini"); }, false, "dflt", true,
     "target.ini", "[S]\r\nk=v\r\n"},
    {"EmptyFile", "settings.ini", [](const fs::path& f) { WriteBytes(f / "settings.ini", ""); }, false,
     "dflt", true, "settings.ini", "[S]\r\nk=v\r\n"},
    // A line of NUL bytes is a blank line without line end: one is added before the new section.
    {"OnlyNulBytes", "settings.ini",
     [](const fs::path& f) { WriteBytes(f / "settings.ini", std::string(64, '\0')); }, false, "dflt", true,
     "settings.ini", std::string(64, '\0') + "\r\n[S]\r\nk=v\r\n"},
};

// The kinds of write a refused path must refuse alike.
constexpr int kWriteKinds = 5;
inline bool WriteOfKind(int kind, const std::string& path) {
    switch (kind) {
    case 0:
        return ini::WriteProfileString(path, "S", "k", "v");
    case 1:
        return ini::WriteProfileString(path, "S", "k", std::nullopt);
    case 2:
        return ini::WriteProfileString(path, "S", std::nullopt, std::nullopt);
    case 3:
        return ini::WriteProfileSection(path, "S", std::string_view("a=1\0b=2\0", 8));
    default: {
        ini::BatchScope batch;
        bool ok = ini::WriteProfileString(path, "S", "k", "v");
        ok = ini::WriteProfileString(path, "T", "k", "w") && ok;
        return batch.Flush() && batch.Ok() && ok;
    }
    }
}

struct BadPathResult {
    long calls = 0, stuck = 0, wrongAnswers = 0, changed = 0, skipped = 0;
    long unreachable = 0; // cases whose ordinary user could not reach the folder
    std::vector<std::string> faults;
    void Add(const BadPathResult& other) {
        calls += other.calls, stuck += other.stuck, wrongAnswers += other.wrongAnswers;
        changed += other.changed, skipped += other.skipped, unreachable += other.unreachable;
        faults.insert(faults.end(), other.faults.begin(), other.faults.end());
    }
};

// Makes the case (and two neighbouring files) in `folder`, reads it and writes it with each kind
// of write in a child, and checks the answers and the folder afterwards; the folder is removed.
// A path that takes a set-key write is checked with that write only.
inline BadPathResult CheckBadPath(const BadPath& bad, const fs::path& folder, unsigned childDeadline) {
    BadPathResult r;
    const auto fault = [&](long& counter, int kind, const std::string& text) {
        ++counter;
        r.faults.push_back(std::string(bad.name) + ", write kind " + std::to_string(kind) + ": " + text);
    };
    const bool asRoot = ::geteuid() == 0;
    for (int kind = 0; kind < (bad.writes ? 1 : kWriteKinds); ++kind) {
        WriteBytes(folder / "other.ini", "[S]\r\nk=other\r\n");
        WriteBytes(folder / "sub" / "Telvar.ini", "[S]\r\nk=sub\r\n");
        bad.make(folder);
        const std::string target = (folder / bad.target).string();
        const auto before = Snapshot(folder);
        // The child answers "<write result><folder reachable><read value>". An ordinary user may
        // not reach the folder at all (below a private scratch folder of root): then the write is
        // refused for that reason and the read is not checked.
        Pipe answer;
        const pid_t engine = !answer.Ok() ? -1 : Spawn(childDeadline, [&] {
            answer.CloseRead();
            if (bad.unprivileged && asRoot &&
                (::setgid(kUnprivileged) != 0 || ::setuid(kUnprivileged) != 0 || ::geteuid() == 0))
                return 4;
            const std::string read = ini::GetProfileString(target, "S", "k", "dflt");
            (void)ini::GetProfileSection(target, "S", 32766);
            const char reachable = ::access(folder.c_str(), X_OK) == 0 ? '1' : '0';
            const std::string reply = (WriteOfKind(kind, target) ? "1" : "0") + (reachable + read);
            return ::write(answer.fd[1], reply.data(), reply.size()) == static_cast<ssize_t>(reply.size())
                       ? 0
                       : 1;
        });
        answer.CloseWrite();
        const std::string reply = engine < 0 ? "" : answer.Drain();
        const int status = engine < 0 ? -1 : Reap(engine);
        r.calls += 3;
        if (ExitedWith(status, 4)) {
            ++r.skipped;
        } else if (!ExitedWith(status, 0) || reply.size() < 2) {
            fault(r.stuck, kind, "did not answer (" + Exited(status) + ")");
        } else {
            if (reply[1] != '1')
                ++r.unreachable;
            else if (reply.substr(2) != bad.read)
                fault(r.wrongAnswers, kind, "read \"" + reply.substr(2) + "\", not \"" + bad.read + "\"");
            if ((reply[0] == '1') != bad.writes)
                fault(r.wrongAnswers, kind, reply[0] == '1' ? "answered written" : "answered refused");
        }
        auto after = Snapshot(folder);
        auto expected = before;
        if (bad.writes) {
            if (ReadBytes(folder / bad.written) != bad.bytes)
                fault(r.wrongAnswers, kind, std::string(bad.written) + " does not hold the expected bytes");
            after.erase(bad.written);
            expected.erase(bad.written);
        }
        if (after != expected) fault(r.changed, kind, "other files changed");
        std::error_code ec;
        fs::permissions(folder / "locked", fs::perms::owner_all, ec);
        fs::remove_all(folder, ec);
    }
    return r;
}

} // namespace kirva::test::loads

#endif // _WIN32
