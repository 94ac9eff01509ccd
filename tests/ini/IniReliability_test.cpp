// The engine under stress from other processes: a writer killed in the middle of its flush,
// several writers on one file at once, and paths that are not usable settings files.
// The work under test runs in forked children (each with an alarm, so that a hang fails the
// test instead of blocking it); the checks run in the test process.
#ifndef _WIN32

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ini/IniTestSupport.h"
#include "ini/profile.h"
#include "ini/store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kirva::test {
namespace {

namespace fs = std::filesystem;

// A child that is still running after this many seconds is stuck: its alarm ends it.
constexpr unsigned kChildDeadlineSeconds = 10;
constexpr uid_t kUnprivileged = 65534; // "nobody"

// A forked process running body; killed and reaped when the test leaves early.
class Child {
  public:
    template <class Body>
    explicit Child(Body body) {
        pid_ = ::fork();
        if (pid_ != 0) return;
        ::alarm(kChildDeadlineSeconds);
        int code = 3;
        try {
            code = body();
        } catch (...) {
        }
        ::_exit(code);
    }
    ~Child() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool Started() const { return pid_ > 0; }
    void Kill() const { ::kill(pid_, SIGKILL); }
    // The wait status; the child is reaped.
    int Wait() {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
        return status;
    }

  private:
    pid_t pid_ = -1;
};

struct Pipe {
    Pipe() {
        if (::pipe(fd) != 0) fd[0] = fd[1] = -1;
    }
    ~Pipe() {
        CloseRead();
        CloseWrite();
    }
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

std::string Exited(int status) {
    if (WIFEXITED(status)) return "exit " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) return "stuck (ended by its alarm)";
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(status);
}

std::string Padded(int n, int width) {
    std::string text = std::to_string(n);
    return std::string(static_cast<std::size_t>(width) - std::min<std::size_t>(text.size(), width), '0') +
           text;
}

// ---------------------------------------------------------------- kill -9 during a flush

// One version of a file of 400 keys of 500 bytes (about 200 KB): every value names the version.
constexpr int kSections = 20;
constexpr int kKeysPerSection = 20;
constexpr std::size_t kValueSize = 500;

std::string ValueOf(int version) {
    const std::string tag = "v" + std::to_string(version) + ";";
    std::string value;
    while (value.size() < kValueSize) value += tag;
    return value;
}

// The bytes of a complete version, as the engine keeps them: every line in place, CR LF.
std::string Render(int version) {
    const std::string value = ValueOf(version);
    std::string text;
    for (int s = 0; s < kSections; ++s) {
        text += "[S" + Padded(s, 2) + "]\r\n";
        for (int k = 0; k < kKeysPerSection; ++k) text += "k" + Padded(k, 3) + "=" + value + "\r\n";
    }
    return text;
}

// The version named by the first value of the file; -1 when there is none.
int FirstVersionIn(const std::string& bytes) {
    const std::size_t at = bytes.find("=v");
    if (at == std::string::npos) return -1;
    int version = -1;
    const char* first = bytes.data() + at + 2;
    const auto [end, error] = std::from_chars(first, bytes.data() + bytes.size(), version);
    return error == std::errc() && end != first ? version : -1;
}

// Rewrites every key with the version in one batch: one atomic replace.
bool WriteVersion(const std::string& path, int version) {
    const std::string value = ValueOf(version);
    ini::BatchScope batch;
    bool ok = true;
    for (int s = 0; s < kSections; ++s)
        for (int k = 0; k < kKeysPerSection; ++k)
            ok = ini::WriteProfileString(path, "S" + Padded(s, 2), "k" + Padded(k, 3), value) && ok;
    return batch.Flush() && batch.Ok() && ok;
}

// A temporary file a writer of `name` left when it was killed: ".<name>.<...>.tmp".
bool IsLeftTemporary(const std::string& entry, const std::string& name) {
    const std::string head = "." + name + ".";
    const std::string tail = ".tmp";
    return entry.size() > head.size() + tail.size() && entry.compare(0, head.size(), head) == 0 &&
           entry.compare(entry.size() - tail.size(), tail.size(), tail) == 0;
}

void Spin(std::chrono::nanoseconds duration) {
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
    }
}

using IniReliability = IniFixture;

TEST_F(IniReliability, WriterKilledDuringFlushLeavesOneCompleteVersion) {
    constexpr int kRounds = 30;
    const std::string name = "big.ini";
    const std::string path = dir / name;
    WriteBytes(path, Render(0));
    // One version written here tells how long a writer's iteration takes on this disk.
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(WriteVersion(path, 1));
    const auto iteration =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start);
    ASSERT_TRUE(ReadBytes(path) == Render(1));
    ini::ClearCache();

    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    int onDisk = 1;
    int interrupted = 0; // kills that left a temporary file: they landed inside a flush
    std::set<std::string> leftBefore;
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Pipe flushed;
        ASSERT_GE(flushed.fd[0], 0);
        const int first = onDisk + 1;
        Child writer([&] {
            flushed.CloseRead();
            for (int version = first;; ++version) {
                const char done = WriteVersion(path, version) ? 'w' : 'f';
                if (::write(flushed.fd[1], &done, 1) != 1 || done == 'f') return 1;
            }
        });
        ASSERT_TRUE(writer.Started());
        flushed.CloseWrite();
        // Let the writer finish one or two versions, then kill it at a random point of the next.
        std::string reported;
        const int wait = 1 + static_cast<int>(rng() % 2);
        for (char c = 0; static_cast<int>(reported.size()) < wait && ::read(flushed.fd[0], &c, 1) == 1;)
            reported.push_back(c);
        Spin(std::chrono::nanoseconds(rng() % (iteration.count() + 1)));
        writer.Kill();
        const int status = writer.Wait();
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << Exited(status);
        reported += flushed.Drain();
        ASSERT_EQ(reported.find('f'), std::string::npos) << "a flush of the writer failed";

        // The file is one complete version: the last one reported, or the one whose flush
        // renamed its file but had no time to report.
        const std::string bytes = ReadBytes(path);
        const int version = FirstVersionIn(bytes);
        const int reportedLast = onDisk + static_cast<int>(reported.size());
        EXPECT_TRUE(version == reportedLast || version == reportedLast + 1)
            << "found version " << version << ", writer reported up to " << reportedLast;
        ASSERT_TRUE(bytes == Render(version))
            << "not one complete version: " << bytes.size() << " bytes, version " << version << " has "
            << Render(version).size();
        onDisk = version;

        // Nothing but the file and the temporaries of killed writers.
        ASSERT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
        std::set<std::string> left;
        for (const auto& entry : fs::directory_iterator(dir.path())) {
            const std::string entryName = entry.path().filename().string();
            if (entryName == name) continue;
            EXPECT_TRUE(IsLeftTemporary(entryName, name)) << entryName;
            left.insert(entryName);
        }
        if (left.size() > leftBefore.size()) ++interrupted;
        leftBefore = left;
    }
    RecordProperty("KillsInsideFlush", interrupted);

    // The next writer is not hindered by what the killed ones left.
    ASSERT_TRUE(WriteVersion(path, onDisk + 1));
    EXPECT_TRUE(ReadBytes(path) == Render(onDisk + 1));
}

// ---------------------------------------------------------------- concurrent writers

TEST_F(IniReliability, WritersInSeveralProcessesLoseNoKey) {
    constexpr int kWriters = 5;
    constexpr int kKeys = 30;
    constexpr int kAttempts = 20; // a write refused because the file stayed locked is tried again
    const std::string path = dir / "shared.ini"; // missing: the first writers race to create it
    Pipe gate;
    ASSERT_GE(gate.fd[0], 0);
    std::vector<std::unique_ptr<Child>> writers;
    for (int p = 0; p < kWriters; ++p) {
        writers.push_back(std::make_unique<Child>([&, p] {
            gate.CloseWrite();
            char c;
            while (::read(gate.fd[0], &c, 1) < 0 && errno == EINTR) {
            }
            for (int k = 0; k < kKeys; ++k) {
                const std::string key = "P" + std::to_string(p) + "_" + std::to_string(k);
                int attempt = 0;
                while (!ini::WriteProfileString(path, "Writers", key, std::to_string(p * 1000 + k)))
                    if (++attempt == kAttempts) return 1;
            }
            return 0;
        }));
        ASSERT_TRUE(writers.back()->Started());
    }
    gate.CloseWrite(); // all start together
    for (auto& writer : writers) {
        const int status = writer->Wait();
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << Exited(status);
    }

    // One header and every key once, with its value; the order is that of the flushes.
    const std::string bytes = ReadBytes(path);
    ASSERT_EQ(bytes.rfind("[Writers]\r\n", 0), 0u) << bytes;
    std::multiset<std::string> lines;
    for (std::size_t at = 11; at < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", at);
        ASSERT_NE(end, std::string::npos) << "last line without line end";
        lines.insert(bytes.substr(at, end - at));
        at = end + 2;
    }
    std::multiset<std::string> expected;
    for (int p = 0; p < kWriters; ++p)
        for (int k = 0; k < kKeys; ++k)
            expected.insert("P" + std::to_string(p) + "_" + std::to_string(k) + "=" +
                            std::to_string(p * 1000 + k));
    EXPECT_TRUE(lines == expected) << lines.size() << " key lines, " << expected.size() << " expected";
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir.path())) ++entries;
    EXPECT_EQ(entries, 1u) << "a temporary file was left";
}

// ---------------------------------------------------------------- paths that are not settings files

// Every entry below a folder, links not followed: what it is, and a regular file's bytes.
std::map<std::string, std::string> Snapshot(const fs::path& folder) {
    std::map<std::string, std::string> entries;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(folder, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path& p = it->path();
        const std::string name = p.lexically_relative(folder).string();
        struct stat info {};
        if (::lstat(p.c_str(), &info) != 0) {
            entries[name] = "vanished";
            continue;
        }
        std::string what = "mode " + std::to_string(info.st_mode) + " uid " + std::to_string(info.st_uid);
        if (S_ISLNK(info.st_mode)) {
            what += " link to " + fs::read_symlink(p).string();
        } else if (S_ISREG(info.st_mode)) {
            what += " size " + std::to_string(info.st_size) + " modified " +
                    std::to_string(info.st_mtim.tv_sec) + "." + std::to_string(info.st_mtim.tv_nsec);
            if (info.st_size < (1 << 20)) what += " bytes " + ReadBytes(p.string());
        }
        entries[name] = what;
    }
    if (ec) entries["(listing failed)"] = ec.message();
    return entries;
}

struct BadPath {
    const char* name;
    const char* target; // the path given to the engine, in the test's folder
    // Makes the entry (and whatever it needs) in the folder.
    void (*make)(const fs::path& folder);
    bool needsUnprivileged; // a permission case: run by an ordinary user even when the test runs as root
    const char* read;       // what a read of [S] k gives ("dflt" is the default)
    bool writes;            // the write succeeds...
    const char* written;    // ...and this file of the folder then holds `bytes`
    std::string bytes;
};

void MakeNeighbours(const fs::path& folder) {
    WriteBytes((folder / "other.ini").string(), "[S]\r\nk=other\r\n");
    WriteBytes((folder / "sub" / "Telvar.ini").string(), "[S]\r\nk=sub\r\n");
}

const BadPath kBadPaths[] = {
    {"Folder", "settings.ini",
     [](const fs::path& f) { WriteBytes((f / "settings.ini" / "inner").string(), "x"); }, false, "dflt",
     false, "", ""},
    {"Fifo", "settings.ini", [](const fs::path& f) { ::mkfifo((f / "settings.ini").c_str(), 0666); }, false,
     "dflt", false, "", ""},
    {"LinkToDevNull", "settings.ini",
     [](const fs::path& f) { fs::create_symlink("/dev/null", f / "settings.ini"); }, false, "dflt", false, "",
     ""},
    {"OverSizeLimit", "settings.ini",
     [](const fs::path& f) {
         WriteBytes((f / "settings.ini").string(), "[S]\r\nk=big\r\n");
         fs::resize_file(f / "settings.ini", ini::store::kMaxFileSize + 1); // sparse
     },
     false, "dflt", false, "", ""},
    {"WriteOnly", "settings.ini",
     [](const fs::path& f) {
         WriteBytes((f / "settings.ini").string(), "[S]\r\nk=hidden\r\n");
         ::chmod((f / "settings.ini").c_str(), 0200);
         if (::geteuid() == 0) (void)!::chown((f / "settings.ini").c_str(), kUnprivileged, kUnprivileged);
     },
     true, "dflt", false, "", ""},
    {"InReadOnlyFolder", "locked/settings.ini",
     [](const fs::path& f) {
         WriteBytes((f / "locked" / "settings.ini").string(), "[S]\r\nk=stored\r\n");
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
    {"EmptyFile", "settings.ini", [](const fs::path& f) { WriteBytes((f / "settings.ini").string(), ""); },
     false, "dflt", true, "settings.ini", "[S]\r\nk=v\r\n"},
    // A line of NUL bytes is a blank line without line end: one is added before the new section.
    {"OnlyNulBytes", "settings.ini",
     [](const fs::path& f) { WriteBytes((f / "settings.ini").string(), std::string(64, '\0')); }, false,
     "dflt", true, "settings.ini", std::string(64, '\0') + "\r\n[S]\r\nk=v\r\n"},
};

class IniBadPath : public IniFixture, public ::testing::WithParamInterface<BadPath> {
  protected:
    void TearDown() override {
        // Let the folder's owner remove what a case made read-only.
        std::error_code ec;
        fs::permissions(dir.path() / "locked", fs::perms::owner_all, ec);
        IniFixture::TearDown();
    }
};

TEST_P(IniBadPath, AnswersAtOnceAndLeavesOtherFilesAlone) {
    const BadPath& bad = GetParam();
    const bool asRoot = ::geteuid() == 0;
    MakeNeighbours(dir.path());
    bad.make(dir.path());
    const std::string target = dir / bad.target;
    const std::map<std::string, std::string> before = Snapshot(dir.path());

    // The read and the write run in a child; it answers "<write result><read value>".
    Pipe answer;
    ASSERT_GE(answer.fd[0], 0);
    Child engine([&] {
        answer.CloseRead();
        if (bad.needsUnprivileged && asRoot &&
            (::setgid(kUnprivileged) != 0 || ::setuid(kUnprivileged) != 0 || ::geteuid() == 0))
            return 4;
        const std::string read = ini::GetProfileString(target, "S", "k", "dflt");
        const std::string reply = (ini::WriteProfileString(target, "S", "k", "v") ? "1" : "0") + read;
        return ::write(answer.fd[1], reply.data(), reply.size()) == static_cast<ssize_t>(reply.size()) ? 0
                                                                                                       : 1;
    });
    ASSERT_TRUE(engine.Started());
    answer.CloseWrite();
    const std::string reply = answer.Drain();
    const int status = engine.Wait();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 4)
        GTEST_SKIP() << "cannot run as an ordinary user here, and root may write anything";
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << Exited(status);
    ASSERT_FALSE(reply.empty());
    EXPECT_EQ(reply.substr(1), bad.read);
    EXPECT_EQ(reply[0] == '1', bad.writes);

    std::map<std::string, std::string> after = Snapshot(dir.path());
    std::map<std::string, std::string> expected = before;
    if (bad.writes) {
        EXPECT_EQ(ReadBytes(dir / bad.written), bad.bytes);
        expected.erase(bad.written);
        ASSERT_EQ(after.erase(bad.written), 1u);
    }
    EXPECT_EQ(after, expected);
}

INSTANTIATE_TEST_SUITE_P(Corpus, IniBadPath, ::testing::ValuesIn(kBadPaths),
                         [](const ::testing::TestParamInfo<BadPath>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
} // namespace kirva::test

#endif // _WIN32
