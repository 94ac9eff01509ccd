// A stand-in command: prints each of its arguments on a line of its own (as the C run-time
// splits the command line), so that a test sees exactly what a command received.
#include <cstdio>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) std::printf("%s\n", argv[i]);
    return argc - 1;
}
