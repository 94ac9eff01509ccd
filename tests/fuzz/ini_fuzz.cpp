// libFuzzer target of the INI parser (built with clang only):
//   build/kirva_ini_fuzz -max_total_time=60 tests/ini/corpus
// The checks are those of the corpus-replay test in tests/ini/IniFuzz_test.cpp.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "ini/IniFuzzCase.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string failure =
        kirva::test::FuzzIniDocument(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!failure.empty()) {
        std::fprintf(stderr, "INI fuzz check failed: %s\n", failure.c_str());
        std::abort();
    }
    return 0;
}
