// The checks made before an apply writes anything.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "machine/Validation.h"

namespace kirva::test {
namespace {

TEST(Validation, DuplicateReferenceIsAnyPartOfAKnownOne) {
    const std::vector<std::string> known = {"", "TOUR12", "", "FRAISE", "Fraiseuse \xC3\xA9tau"};
    struct Case {
        const char* typed;
        int appCalling;
        bool duplicate;
    };
    for (const Case& c : {Case{"tour1", 1, true}, Case{"  TOUR12 ", 1, true}, Case{"OUR", 1, true},
                          Case{"TOUR123", 1, false}, Case{"FRAISE2", 1, false}, Case{"\xC3\x89TAU", 1, true},
                          Case{"TOUR12", 2, false}, Case{"", 1, false}, Case{"   ", 1, false}})
        EXPECT_EQ(IsDuplicateReference(c.typed, known, c.appCalling), c.duplicate)
            << "'" << c.typed << "' appCalling " << c.appCalling;
    EXPECT_FALSE(IsDuplicateReference("TOUR1", {""}, 1)); // no machine known yet
}

TEST(Validation, ReferenceMustNameAFile) {
    struct Case {
        std::string reference;
        std::optional<std::string> problem;
    };
    const Case cases[] = {
        {"TOUR_T01", std::nullopt},
        {"Tour 1 (atelier B) \xC3\xA9", std::nullopt},
        {"M.01", std::nullopt},
        {"T/01", "\"/\""},
        {"T\\01", "\"\\\""},
        {"..", "\"..\""},
        {"T..1", "\"..\""},
        {"T:1", "\":\""},
        {"T*", "\"*\""},
        {"T?", "\"?\""},
        {"<T>", "\"<\""},
        {"T|1", "\"|\""},
        {"T\"1", "\"\"\""},
        {"T\t1", "le caract\xC3\xA8re de code 0x09"},
        {"T\x7F", "le caract\xC3\xA8re de code 0x7F"},
    };
    for (const Case& c : cases) EXPECT_EQ(ReferenceFileNameProblem(c.reference), c.problem) << c.reference;
}

TEST(Validation, RequiredFieldsInOrderWithTheCallersWords) {
    struct Case {
        int mode;
        const char* reference;
        const char* folder;
        std::optional<std::string> message;
    };
    const Case cases[] = {
        {1, "", "",
         "Vous devez attribuer une r\xC3\xA9"
         "f\xC3\xA9rence \xC3\xA0 cette machine !"},
        {2, "  ", "/srv/T1/",
         "Vous devez attribuer une r\xC3\xA9"
         "f\xC3\xA9rence \xC3\xA0 cette machine !"},
        {1, "T1", " ", "Vous devez associer un dossier \xC3\xA0 cette machine !"},
        {2, "T1", "", "Vous devez associer un dossier Port DNC \xC3\xA0 cette machine !"},
        {1, "T1", "/srv/T1/", std::nullopt},
        {2, "T1", "/srv/T1/", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(RequiredFieldProblem(c.mode, c.reference, c.folder), c.message)
            << c.mode << " '" << c.reference << "' '" << c.folder << "'";
}

} // namespace
} // namespace kirva::test
