// The stand-in of sc and of instsrv.exe on Windows: copied under either name, it notes its call
// in the file that KIRVA_TEST_CALLS names and prints what it received, one argument per line
// between brackets (as the C run-time splits the command line), after the line the real program
// would print first.
//
// As sc, with SC_STARTED set, the start and stop calls (which run without being waited for)
// append their arguments to that file instead of printing them. SC_EXIT is sc's exit code.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Appends one line at once, with a bare LF, to the file an environment variable names.
void AppendLine(const char* variable, const std::string& line) {
    const char* path = std::getenv(variable);
    if (path == nullptr || *path == '\0') return;
    if (std::FILE* file = std::fopen(path, "ab")) {
        const std::string text = line + "\n";
        std::fwrite(text.data(), 1, text.size(), file);
        std::fclose(file);
    }
}

} // namespace

int main(int argc, char** argv) {
    // Copied as sc.exe and instsrv.exe only: the name it was started by tells which it is.
    const std::string started = argc > 0 ? argv[0] : "";
    const bool sc = started.find("instsrv") == std::string::npos;
    const std::string self = sc ? "sc" : "instsrv";
    std::string arguments;
    for (int i = 1; i < argc; ++i) arguments += (i > 1 ? " " : "") + std::string(argv[i]);
    AppendLine("KIRVA_TEST_CALLS", self + " " + arguments);

    if (sc && std::getenv("SC_STARTED") != nullptr && argc > 2 &&
        (std::strcmp(argv[2], "start") == 0 || std::strcmp(argv[2], "stop") == 0)) {
        AppendLine("SC_STARTED", arguments);
        return 0;
    }
    // stdout in text mode: each line ends with CR LF, as the system's own programs write them.
    std::printf("%s\n", sc ? "[SC] stand-in" : "The service was successfully added!");
    for (int i = 1; i < argc; ++i) std::printf("[%s]\n", argv[i]);
    const char* exitCode = sc ? std::getenv("SC_EXIT") : nullptr;
    return exitCode != nullptr ? std::atoi(exitCode) : 0;
}
