// Long runs of the INI engine against other processes, for scripts/soak:
//   kirva_ini_soak kill|writers|badfiles <seconds> <scratch folder>
// kill      a writer rewriting a file of thousands of keys in one batch per version is killed with
//           SIGKILL at random points; each time the file must be exactly one complete version,
//           the last one it reported or the one after.
// writers   several processes write distinct keys into one file at the same time, one flush per
//           key; afterwards every key is there once with its value.
// badfiles  paths that are not usable settings files (folder, FIFO, device, oversized, write-only,
//           read-only folder, link loop, dangling link, empty, NUL bytes), with every kind of write;
//           each call answers within its deadline and no other file of the folder changes.
// Prints one summary line and exits with 0 when no fault was seen, 1 otherwise.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ini/profile.h"
#include "ini/store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned kChildDeadlineSeconds = 20;
constexpr uid_t kUnprivileged = 65534;

std::string ReadBytes(const fs::path& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// Runs body in a forked child (ended by an alarm if it hangs); returns its pid.
pid_t Spawn(const std::function<int()>& body) {
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    ::alarm(kChildDeadlineSeconds);
    int code = 3;
    try {
        code = body();
    } catch (...) {
    }
    ::_exit(code);
}

int Reap(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

bool ExitedWith(int status, int code) {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

std::string Drain(int fd) {
    std::string all;
    char buffer[256];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return all;
        all.append(buffer, static_cast<std::size_t>(got));
    }
}

std::string Padded(int n, int width) {
    std::string text = std::to_string(n);
    return std::string(static_cast<std::size_t>(std::max(0, width - static_cast<int>(text.size()))), '0') +
           text;
}

// ---------------------------------------------------------------- kill

struct Layout {
    int sections = 0;
    int keys = 0;              // per section
    std::size_t valueSize = 0; // at least
};

std::string ValueOf(const Layout& layout, int version) {
    const std::string tag = "v" + std::to_string(version) + ";";
    std::string value;
    while (value.size() < layout.valueSize) value += tag;
    return value;
}

std::string Render(const Layout& layout, int version) {
    const std::string value = ValueOf(layout, version);
    std::string text;
    for (int s = 0; s < layout.sections; ++s) {
        text += "[S" + Padded(s, 3) + "]\r\n";
        for (int k = 0; k < layout.keys; ++k) text += "k" + Padded(k, 3) + "=" + value + "\r\n";
    }
    return text;
}

int FirstVersionIn(const std::string& bytes) {
    const std::size_t at = bytes.find("=v");
    if (at == std::string::npos) return -1;
    int version = -1;
    const char* first = bytes.data() + at + 2;
    const auto [end, error] = std::from_chars(first, bytes.data() + bytes.size(), version);
    return error == std::errc() && end != first ? version : -1;
}

bool WriteVersion(const std::string& path, const Layout& layout, int version) {
    const std::string value = ValueOf(layout, version);
    kirva::ini::BatchScope batch;
    bool ok = true;
    for (int s = 0; s < layout.sections; ++s)
        for (int k = 0; k < layout.keys; ++k)
            ok = kirva::ini::WriteProfileString(path, "S" + Padded(s, 3), "k" + Padded(k, 3), value) && ok;
    return batch.Flush() && batch.Ok() && ok;
}

bool IsLeftTemporary(const std::string& entry, const std::string& name) {
    const std::string head = "." + name + ".";
    const std::string tail = ".tmp";
    return entry.size() > head.size() + tail.size() && entry.compare(0, head.size(), head) == 0 &&
           entry.compare(entry.size() - tail.size(), tail.size(), tail) == 0;
}

int KillLoad(double seconds, const fs::path& scratch, std::mt19937& rng) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    long kills = 0, checked = 0, flushes = 0, inside = 0, torn = 0, wrong = 0, failed = 0;
    for (int series = 0; Clock::now() < end; ++series) {
        // Each series: a new file of 100 to 1,200 keys of 20 to 800 bytes (2 KB to 1 MB).
        const Layout layout{5 + static_cast<int>(rng() % 56), 20, 20 + rng() % 781};
        const fs::path folder = scratch / ("kill-" + std::to_string(series));
        fs::create_directories(folder);
        const std::string name = "big.ini";
        const std::string path = (folder / name).string();
        WriteBytes(path, Render(layout, 0));
        kirva::ini::ClearCache();
        const auto start = Clock::now();
        if (!WriteVersion(path, layout, 1)) ++failed;
        const auto iteration = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start);
        kirva::ini::ClearCache();
        int onDisk = 1;
        std::size_t left = 0;
        for (int round = 0; round < 20 && Clock::now() < end; ++round) {
            int fd[2];
            if (::pipe(fd) != 0) return 1;
            const int first = onDisk + 1;
            const pid_t writer = Spawn([&] {
                ::close(fd[0]);
                for (int version = first;; ++version) {
                    const char done = WriteVersion(path, layout, version) ? 'w' : 'f';
                    if (::write(fd[1], &done, 1) != 1 || done == 'f') return 1;
                }
            });
            ::close(fd[1]);
            std::string reported;
            const std::size_t wait = rng() % 4;
            for (char c = 0; reported.size() < wait && ::read(fd[0], &c, 1) == 1;) reported.push_back(c);
            const auto spin = Clock::now() + std::chrono::nanoseconds(rng() % (2 * iteration.count() + 1));
            while (Clock::now() < spin) {
            }
            ::kill(writer, SIGKILL);
            Reap(writer);
            reported += Drain(fd[0]);
            ::close(fd[0]);
            ++kills;
            failed += static_cast<long>(std::count(reported.begin(), reported.end(), 'f'));
            flushes += static_cast<long>(std::count(reported.begin(), reported.end(), 'w'));

            const std::string bytes = ReadBytes(path);
            const int version = FirstVersionIn(bytes);
            const int last = onDisk + static_cast<int>(reported.size());
            ++checked;
            if (version < 0 || bytes != Render(layout, version)) {
                ++torn;
                std::fprintf(stderr, "kill: torn file in %s (%zu bytes)\n", folder.c_str(), bytes.size());
                break;
            }
            if (version != last && version != last + 1) {
                ++wrong;
                std::fprintf(stderr, "kill: version %d on disk, writer reported up to %d\n", version, last);
            }
            onDisk = version;
            std::size_t now = 0;
            for (const auto& entry : fs::directory_iterator(folder)) {
                const std::string entryName = entry.path().filename().string();
                if (entryName == name) continue;
                if (!IsLeftTemporary(entryName, name)) {
                    ++torn;
                    std::fprintf(stderr, "kill: unexpected %s\n", entry.path().c_str());
                }
                ++now;
            }
            if (now > left) ++inside;
            left = now;
        }
        fs::remove_all(folder);
    }
    std::printf("kill -9 during flush: %ld kills (%ld inside a flush: temporary left), %ld versions checked, "
                "%ld flushes completed, torn files = %ld, wrong versions = %ld, failed flushes = %ld\n",
                kills, inside, checked, flushes, torn, wrong, failed);
    return torn == 0 && wrong == 0 && failed == 0 ? 0 : 1;
}

// ---------------------------------------------------------------- writers

int WritersLoad(double seconds, const fs::path& scratch, std::mt19937& rng) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    long rounds = 0, writes = 0, retried = 0, lost = 0, extra = 0, failedWriters = 0;
    kirva::ini::ClearCache();
    while (Clock::now() < end) {
        const int writers = 4 + static_cast<int>(rng() % 3); // 4 to 6 processes
        const int keys = 50 + static_cast<int>(rng() % 151); // 50 to 200 keys each
        const fs::path folder = scratch / ("writers-" + std::to_string(rounds));
        fs::create_directories(folder);
        const std::string path = (folder / "shared.ini").string();
        int gate[2], retries[2];
        if (::pipe(gate) != 0 || ::pipe(retries) != 0) return 1;
        std::vector<pid_t> pids;
        for (int p = 0; p < writers; ++p) {
            pids.push_back(Spawn([&, p] {
                ::close(gate[1]);
                ::close(retries[0]);
                char c;
                while (::read(gate[0], &c, 1) < 0 && errno == EINTR) {
                }
                for (int k = 0; k < keys; ++k) {
                    const std::string key = "P" + std::to_string(p) + "_" + std::to_string(k);
                    int attempt = 0;
                    while (
                        !kirva::ini::WriteProfileString(path, "Writers", key, std::to_string(p * 1000 + k))) {
                        (void)!::write(retries[1], "r", 1);
                        if (++attempt == 20) return 1;
                    }
                }
                return 0;
            }));
        }
        ::close(gate[0]);
        ::close(gate[1]);
        ::close(retries[1]);
        retried += static_cast<long>(Drain(retries[0]).size());
        ::close(retries[0]);
        for (const pid_t pid : pids)
            if (!ExitedWith(Reap(pid), 0)) ++failedWriters;

        std::multiset<std::string> lines;
        const std::string bytes = ReadBytes(path);
        std::size_t at = bytes.rfind("[Writers]\r\n", 0) == 0 ? 11 : 0;
        if (at == 0) ++extra;
        while (at < bytes.size()) {
            const std::size_t stop = bytes.find("\r\n", at);
            lines.insert(bytes.substr(at, stop == std::string::npos ? std::string::npos : stop - at));
            at = stop == std::string::npos ? bytes.size() : stop + 2;
        }
        for (int p = 0; p < writers; ++p)
            for (int k = 0; k < keys; ++k) {
                const auto found = lines.find("P" + std::to_string(p) + "_" + std::to_string(k) + "=" +
                                              std::to_string(p * 1000 + k));
                if (found == lines.end())
                    ++lost;
                else
                    lines.erase(found);
                ++writes;
            }
        extra += static_cast<long>(lines.size());
        if (std::distance(fs::directory_iterator(folder), fs::directory_iterator()) != 1) ++extra;
        if (lost || extra)
            std::fprintf(stderr, "writers: round %ld in %s lost keys\n", rounds, folder.c_str());
        else
            fs::remove_all(folder);
        ++rounds;
    }
    std::printf(
        "concurrent writers: %ld rounds of 4-6 processes, %ld writes (one flush each), %ld refused as "
        "locked and retried, writers failed = %ld, keys lost = %ld, stray lines or files = %ld\n",
        rounds, writes, retried, failedWriters, lost, extra);
    return lost == 0 && extra == 0 && failedWriters == 0 ? 0 : 1;
}

// ---------------------------------------------------------------- bad files

std::map<std::string, std::string> Snapshot(const fs::path& folder) {
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
    const char* target;
    std::function<void(const fs::path&)> make;
    bool unprivileged;
    bool writes;              // a set-key write succeeds (others are refused, whatever the kind of write)...
    const char* written = ""; // ...and this file of the folder then holds these bytes
    std::string bytes;
};

std::vector<BadPath> BadPaths() {
    const auto file = [](const char* bytes, std::size_t size) {
        return [=](const fs::path& f) { WriteBytes(f / "settings.ini", std::string(bytes, size)); };
    };
    return {
        {"folder", "settings.ini", [](const fs::path& f) { WriteBytes(f / "settings.ini" / "inner", "x"); },
         false, false, "", ""},
        {"fifo", "settings.ini", [](const fs::path& f) { ::mkfifo((f / "settings.ini").c_str(), 0666); },
         false, false, "", ""},
        {"link to /dev/null", "settings.ini",
         [](const fs::path& f) { fs::create_symlink("/dev/null", f / "settings.ini"); }, false, false, "",
         ""},
        {"over the size limit", "settings.ini",
         [](const fs::path& f) {
             WriteBytes(f / "settings.ini", "[S]\r\nk=big\r\n");
             fs::resize_file(f / "settings.ini", kirva::ini::store::kMaxFileSize + 1);
         },
         false, false, "", ""},
        {"write-only", "settings.ini",
         [](const fs::path& f) {
             WriteBytes(f / "settings.ini", "[S]\r\nk=hidden\r\n");
             ::chmod((f / "settings.ini").c_str(), 0200);
             if (::geteuid() == 0) (void)!::chown((f / "settings.ini").c_str(), kUnprivileged, kUnprivileged);
         },
         true, false, "", ""},
        {"in a read-only folder", "locked/settings.ini",
         [](const fs::path& f) {
             WriteBytes(f / "locked" / "settings.ini", "[S]\r\nk=stored\r\n");
             if (::geteuid() == 0)
                 (void)!::chown((f / "locked" / "settings.ini").c_str(), kUnprivileged, kUnprivileged);
             ::chmod((f / "locked").c_str(), 0555);
         },
         true, false, "", ""},
        {"link loop", "a.ini",
         [](const fs::path& f) {
             fs::create_symlink("b.ini", f / "a.ini");
             fs::create_symlink("a.ini", f / "b.ini");
         },
         false, false, "", ""},
        {"dangling link", "settings.ini",
         [](const fs::path& f) { fs::create_symlink("target.ini", f / "settings.ini"); }, false, true,
         "target.ini", "[S]\r\nk=v\r\n"},
        {"empty", "settings.ini", file("", 0), false, true, "settings.ini", "[S]\r\nk=v\r\n"},
        {"NUL bytes", "settings.ini", file("\0\0\0\0\0\0\0\0", 8), false, true, "settings.ini",
         std::string(8, '\0') + "\r\n[S]\r\nk=v\r\n"},
    };
}

// The kinds of write a refused path must refuse alike.
bool WriteOfKind(int kind, const std::string& path) {
    namespace ini = kirva::ini;
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
constexpr int kWriteKinds = 5;

int BadFilesLoad(double seconds, const fs::path& scratch) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    const bool asRoot = ::geteuid() == 0;
    long rounds = 0, calls = 0, stuck = 0, wrongAnswers = 0, changed = 0, skipped = 0;
    const std::vector<BadPath> cases = BadPaths();
    kirva::ini::ClearCache();
    while (Clock::now() < end) {
        for (const BadPath& bad : cases) {
            for (int kind = 0; kind < kWriteKinds; ++kind) {
                // A path that takes a set-key write is checked with that write only.
                if (bad.writes && kind != 0) continue;
                const fs::path folder = scratch / "bad";
                fs::create_directories(folder);
                WriteBytes(folder / "other.ini", "[S]\r\nk=other\r\n");
                WriteBytes(folder / "sub" / "Telvar.ini", "[S]\r\nk=sub\r\n");
                bad.make(folder);
                const std::string target = (folder / bad.target).string();
                const auto before = Snapshot(folder);
                const pid_t engine = Spawn([&] {
                    if (bad.unprivileged && asRoot &&
                        (::setgid(kUnprivileged) != 0 || ::setuid(kUnprivileged) != 0))
                        return 4;
                    (void)kirva::ini::GetProfileString(target, "S", "k", "d");
                    (void)kirva::ini::GetProfileSection(target, "S", 32766);
                    return WriteOfKind(kind, target) ? 0 : 1;
                });
                const int status = Reap(engine);
                calls += 3;
                if (ExitedWith(status, 4)) {
                    ++skipped;
                } else if (!WIFEXITED(status)) {
                    ++stuck;
                    std::fprintf(stderr, "badfiles: %s, write kind %d: did not answer\n", bad.name, kind);
                } else if (ExitedWith(status, 0) != bad.writes) {
                    ++wrongAnswers;
                    std::fprintf(stderr, "badfiles: %s, write kind %d: answered %s\n", bad.name, kind,
                                 ExitedWith(status, 0) ? "written" : "refused");
                }
                auto after = Snapshot(folder);
                auto expected = before;
                if (bad.writes) {
                    if (ReadBytes(folder / bad.written) != bad.bytes) {
                        ++wrongAnswers;
                        std::fprintf(stderr, "badfiles: %s: %s does not hold the expected bytes\n", bad.name,
                                     bad.written);
                    }
                    after.erase(bad.written);
                    expected.erase(bad.written);
                }
                if (after != expected) {
                    ++changed;
                    std::fprintf(stderr, "badfiles: %s, write kind %d: other files changed\n", bad.name,
                                 kind);
                }
                std::error_code ec;
                fs::permissions(folder / "locked", fs::perms::owner_all, ec);
                fs::remove_all(folder, ec);
            }
        }
        ++rounds;
    }
    std::printf(
        "bad files: %ld rounds of %zu paths x %d kinds of write, %ld calls, calls that did not answer "
        "= %ld, wrong answers = %ld, other files changed = %ld, cases skipped = %ld\n",
        rounds, cases.size(), kWriteKinds, calls, stuck, wrongAnswers, changed, skipped);
    return stuck == 0 && wrongAnswers == 0 && changed == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s kill|writers|badfiles <seconds> <scratch folder>\n", argv[0]);
        return 2;
    }
    const std::string load = argv[1];
    const double seconds = std::atof(argv[2]);
    const fs::path scratch = fs::absolute(argv[3]);
    fs::create_directories(scratch);
    const unsigned seed = std::random_device{}();
    std::fprintf(stderr, "kirva_ini_soak %s: seed %u\n", load.c_str(), seed);
    std::mt19937 rng(seed);
    if (load == "kill") return KillLoad(seconds, scratch, rng);
    if (load == "writers") return WritersLoad(seconds, scratch, rng);
    if (load == "badfiles") return BadFilesLoad(seconds, scratch);
    std::fprintf(stderr, "unknown load %s\n", load.c_str());
    return 2;
}
