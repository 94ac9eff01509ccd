// Corpus replay of the parser fuzz target: the committed corpus and deterministic mutations
// of it. With clang, tests/fuzz/ini_fuzz.cpp runs the same checks under libFuzzer.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "ini/IniFuzzCase.h"
#include "support/TempDir.h"

namespace kirva::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::pair<std::string, std::string>> Corpus() {
    std::vector<std::pair<std::string, std::string>> inputs;
    for (const auto& e : fs::directory_iterator(fs::path(KIRVA_SOURCE_DIR) / "tests/ini/corpus"))
        inputs.emplace_back(e.path().filename().string(), ReadBytes(e.path().string()));
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

std::string Mutate(std::string input, std::mt19937& rng) {
    static const std::string pieces[] = {
        "[",        "]",    "=",    ";",    "\r",       "\n",  "\r\n", std::string(1, '\0'),
        " ",        "\t",   "\v",   "'",    "\"",       "[S]", "k=",   "\xEF\xBB\xBF",
        "\xFF\xFE", "\xC3", "\xE9", "\x80", "\xD8\x3D", "[]"};
    const int steps = 1 + static_cast<int>(rng() % 4);
    for (int s = 0; s < steps; ++s) {
        const std::size_t at = input.empty() ? 0 : rng() % (input.size() + 1);
        switch (rng() % 4) {
        case 0:
            input.insert(at, pieces[rng() % std::size(pieces)]);
            break;
        case 1:
            if (at < input.size()) input[at] = static_cast<char>(rng() & 0xFF);
            break;
        case 2:
            input.erase(at, rng() % 8);
            break;
        default:
            input.resize(at);
            break;
        }
    }
    return input;
}

TEST(IniFuzz, CorpusAndMutationsKeepEveryInvariant) {
    const auto corpus = Corpus();
    ASSERT_GE(corpus.size(), 10u);
    std::mt19937 rng(20240611);
    for (const auto& [name, bytes] : corpus) {
        EXPECT_EQ(FuzzIniDocument(bytes), "") << name;
        for (int i = 0; i < 300; ++i) {
            const std::string mutated = Mutate(bytes, rng);
            const std::string failure = FuzzIniDocument(mutated);
            ASSERT_EQ(failure, "") << name << " mutation " << i;
        }
    }
}

} // namespace
} // namespace kirva::test
