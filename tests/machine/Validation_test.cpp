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

// A reference names a file: the first forbidden character is named in the message, quoted, or
// by its code when it cannot be seen.
TEST(Validation, ReferenceMustNameAFile) {
    for (const char* reference : {"TOUR_T01", "Tour 1 (atelier B) é", "M.01"})
        EXPECT_EQ(ReferenceFileNameProblem(reference), std::nullopt) << reference;
    const std::pair<const char*, const char*> refused[] = {
        {"T/01", "\"/\""}, {"T\\01", "\"\\\""}, {"..", "\"..\""}, {"T..1", "\"..\""}, {"T:1", "\":\""},
        {"T*", "\"*\""},   {"T?", "\"?\""},     {"<T>", "\"<\""}, {"T|1", "\"|\""},   {"T\"1", "\"\"\""},
    };
    for (const auto& [reference, problem] : refused)
        EXPECT_EQ(ReferenceFileNameProblem(reference), problem) << reference;
    EXPECT_EQ(ReferenceFileNameProblem("T\t1"), "le caractère de code 0x09");
    EXPECT_EQ(ReferenceFileNameProblem("T\x7F"), "le caractère de code 0x7F");
}

// Blanks alone are no reference. (Each check's message in its caller's words, and the order of
// the checks: the apply's tests.)
TEST(Validation, BlankReferenceIsRequired) {
    EXPECT_EQ(RequiredFieldProblem(2, "  ", "/srv/T1/"),
              "Vous devez attribuer une référence à cette machine !");
    EXPECT_EQ(RequiredFieldProblem(2, "T1", "/srv/T1/"), std::nullopt);
}

} // namespace
} // namespace kirva::test
