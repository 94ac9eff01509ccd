// The machine's lists: ISO insertions (Iso.ini), reference plans and channels (Telvar.ini).
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "ini/profile.h"
#include "lists/clsCanaux.h"
#include "lists/clsInsertIso.h"
#include "lists/clsPlansPDC.h"
#include "support/TestSupport.h"

namespace kirva {
namespace {

using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;

class ListsTest : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    void TearDown() override { ini::ClearCache(); }
    TempDir dir_;
    const std::string iso_ = dir_ / "Iso.ini";
    const std::string telvar_ = dir_ / "Telvar.ini";
};

// A list loaded from `path`.
template <typename List>
List Loaded(const std::string& path) {
    List list;
    list.Init(path);
    return list;
}

// ---------------------------------------------------------------- ISO insertions

std::vector<std::string> Names(clsInsertIso& list) {
    std::vector<std::string> names;
    for (std::int32_t order = 1; order <= list.NbElt(); ++order) names.push_back(list.GetNameByOrder(order));
    return names;
}

TEST_F(ListsTest, InsertIsoLoadsTheSectionInFileOrder) {
    WriteBytes(iso_, "[OTHER]\r\nA=1\r\n[INSERT]\r\nOrigine=iso:G90<R>M30|bmp:|Rac:1113|\r\n-\r\n"
                     "'Old=iso:G0|bmp:|Rac:|\r\nFin=iso:M30|bmp:fin.bmp|Rac:|\r\n   \r\nBare\r\n");
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"Origine", "-", "Fin", "Bare"}));
    EXPECT_EQ(list.GetIso("Origine"), "G90<R>M30");
    EXPECT_EQ(list.GetRac("Origine"), "1113");
    EXPECT_EQ(list.GetBmp("Fin"), "fin.bmp");
    EXPECT_EQ(list.GetIso("Bare"), ""); // a line without its tags keeps its name only
}

// The comment rules of the section: "'" starts a comment unless it follows d, l or n of French
// text, in either case; the second quote of a doubled one follows a quote and ends the line.
TEST_F(ListsTest, InsertIsoApostrophesOfFrenchTextAndComments) {
    WriteBytes(iso_, "[INSERT]\r\nL'outil=iso:T1 M6|bmp:|Rac:|\r\nD'abord=iso:G0 ' retour|bmp:|Rac:|\r\n"
                     "N'oublie=iso:M30|bmp:|Rac:|\r\nCoupe=iso:(l''usinage)|bmp:|Rac:|\r\n"
                     "Arret=iso:M00 ''pause''|bmp:|Rac:|\r\n'Ancien=iso:G1|bmp:|Rac:|\r\nT'as=iso:G2|\r\n");
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    EXPECT_EQ(Names(list),
              (std::vector<std::string>{"L'outil", "D'abord", "N'oublie", "Coupe", "Arret", "T"}));
    EXPECT_EQ(list.GetIso("L'outil"), "T1 M6");
    EXPECT_EQ(list.GetIso("D'abord"), "G0");
    EXPECT_EQ(list.GetIso("N'oublie"), "M30");
    EXPECT_EQ(list.GetIso("Coupe"), "(l'");
    EXPECT_EQ(list.GetIso("Arret"), "M00");
    EXPECT_EQ(list.GetIso("T"), "");
}

TEST_F(ListsTest, InsertIsoSavesEachInsertionAtItsOrderAndReadsItBack) {
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    for (const char* name : {"Origine", "-", "Fin"}) list.AddIso(name);
    list.SetKey("Origine", "G90<R>M30", "", "1113");
    list.SetKey("-", "ignored", "x.bmp", "0112");
    list.SetKey("Fin", "G1 X1|Y2", "pic|ture.bmp", "");
    list.SwitchOrdre(1, 3);
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(iso_), "[INSERT]\r\nFin=iso:G1 X1|Y2|bmp:pic|ture.bmp|Rac:|\r\n-\r\n"
                               "Origine=iso:G90<R>M30|bmp:|Rac:1113|\r\n");

    clsInsertIso again = Loaded<clsInsertIso>(iso_);
    EXPECT_EQ(Names(again), (std::vector<std::string>{"Fin", "-", "Origine"}));
    EXPECT_EQ(again.GetIso("Origine"), "G90<R>M30");
    EXPECT_EQ(again.GetIso("-"), "");
    EXPECT_EQ(again.GetIso("Fin"), "G1 X1"); // a value holding "|" is cut at it
    EXPECT_EQ(again.GetBmp("Fin"), "pic");
}

// Delete takes the position in the collection, not the displayed order; the orders keep their gap
// until the list is refilled, and nothing is saved before.
TEST_F(ListsTest, InsertIsoDeleteTakesThePositionAndSavingWaitsForTheRefill) {
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    for (const char* name : {"A", "B", "C"}) list.AddIso(name);
    list.SwitchOrdre(1, 2);      // shown as B, A, C
    ASSERT_TRUE(list.Delete(1)); // the first line shown is B, but position 1 holds A
    EXPECT_FALSE(list.Save());   // orders 1 and 3 of 2 insertions: nothing is written
    EXPECT_EQ(ReadBytes(iso_), "");
    EXPECT_EQ(list.RenumberByOrder(), (std::vector<std::string>{"B", "C"}));
    EXPECT_EQ(list.FNGetInfoIsoByOrder(2).Name(), "C");
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(iso_), "[INSERT]\r\nB=iso:|bmp:|Rac:|\r\nC=iso:|bmp:|Rac:|\r\n");
}

TEST_F(ListsTest, InsertIsoAnInsertionAddedTwiceIsShownAndSavedOnceWithTheOthersKept) {
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    for (const char* name : {"A", "B", "A"}) list.AddIso(name);
    list.SetKey("A", "G0", "", "");
    EXPECT_EQ(list.RenumberByOrder(), (std::vector<std::string>{"A", "B"}));
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(iso_), "[INSERT]\r\nA=iso:G0|bmp:|Rac:|\r\nB=iso:|bmp:|Rac:|\r\n");
}

TEST_F(ListsTest, InsertIsoChangesThroughAFailedLookUpAreLost) {
    clsInsertIso list = Loaded<clsInsertIso>(iso_);
    for (const char* name : {"A", "A"}) list.AddIso(name);
    list.SetKey("A", "second", "", ""); // look-ups by name take the last match
    EXPECT_EQ(list.FNGetInfoIsoByOrder(1).Iso(), "");
    list.FNGetInfoIsoByOrder(7).Name("ghost");
    list.SetKey("nobody", "G0", "b.bmp", "0112");
    list.SetOrdre("nobody", 1);
    list.UpdateNameIso("nobody", "A2");
    list.SwitchOrdre(1, 9);
    EXPECT_EQ(list.NbElt(), 2);
    EXPECT_EQ(list.FNGetInfoIsoByOrder(7).Name(), "");
    EXPECT_EQ(list.GetNameByOrder(1), "A");
    EXPECT_EQ(list.GetIso("A"), "second");
}

TEST(ListsShortcut, KeyCodeAndText) {
    const std::pair<const char*, const char*> toText[] = {
        {"0112", "F1"}, {"1065", "Shift + A"}, {"2113", "Ctrl + F2"}, {"2123", "Ctrl + F12"},
        {"0090", "Z"},  {"0124", ""},          {"0064", ""},          {"", ""},
        {"3066", "B"}};
    for (const auto& [code, text] : toText) EXPECT_EQ(RacToText(code), text) << code;
    const std::pair<const char*, const char*> toCode[] = {
        {"Ctrl + F12", "2123"}, {"", ""},       {"Shift + F2", "1113"}, {"  B ", "0066"}, {"é", "0233"},
        {"€", "0128"},          {"Fx", "0070"}, {"Ctrl + F", "2070"},   {"ж", "0063"}};
    for (const auto& [text, code] : toCode) EXPECT_EQ(TextToRac(text), code) << text;
}

// ---------------------------------------------------------------- plans and channels

TEST_F(ListsTest, PlansDefaultsApplyOnAddAndOnLoadButNotOnModify) {
    clsPlansPDC plans = Loaded<clsPlansPDC>(telvar_);
    plans.AddPlan("P", "", "", 0, 0, false);
    plans.AddPlan("Q", "X", "Z", 1, 2, true);
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(telvar_), "[PLANS]\r\nref:P|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                                  "ref:Q|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:1|\r\n");

    ASSERT_TRUE(plans.ModifPlan("Q", "Q", "", "W", 0, 0.1f, true));
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(telvar_), "[PLANS]\r\nref:P|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                                  "ref:Q|LadX:|LadY:W|CoeffX:0|CoeffY:0.1|R:1|\r\n");

    clsPlansPDC again = Loaded<clsPlansPDC>(telvar_);
    EXPECT_EQ(again.FNGetLadX("Q"), "X");
    EXPECT_EQ(again.FNGetCoeffX("Q"), 1.0f);
    EXPECT_EQ(again.FNGetCoeffY("Q"), 0.1f);
    EXPECT_TRUE(again.FNGetProgR("Q"));
    EXPECT_EQ(again.FNGetLadX("nobody"), "");
}

// Coefficients are read with a point only. One beyond the float range is held as the largest
// float of its sign (one too small for a float is 0, which reads as the default 1), and saved so
// that it reads back the same. A line without its tags is a plan with an empty name and the defaults.
TEST_F(ListsTest, PlansCoefficientsReadAndSaved) {
    WriteBytes(telvar_, "[PLANS]\r\nref:A|LadX:X|LadY:Y|CoeffX:1,5|CoeffY:2.25mm|R:yes|\r\nno tags at all\r\n"
                        "ref:BIG|LadX:X|LadY:Y|CoeffX:1e39|CoeffY:-1e39|R:0|\r\n"
                        "ref:EDGE|LadX:X|LadY:Y|CoeffX:1e-50|CoeffY:3.5e38|R:1|\r\n");
    clsPlansPDC plans = Loaded<clsPlansPDC>(telvar_);
    EXPECT_EQ(plans.FNGetCoeffX("A"), 1.0f);
    EXPECT_EQ(plans.FNGetCoeffY("A"), 2.25f);
    EXPECT_FALSE(plans.FNGetProgR("A"));
    EXPECT_EQ(plans.FNGetRefPlan(2), "");
    EXPECT_EQ(plans.FNGetLadY(""), "Y");
    EXPECT_EQ(plans.FNGetCoeffY(""), 1.0f);
    EXPECT_EQ(plans.FNGetCoeffX("BIG"), std::numeric_limits<float>::max());
    EXPECT_EQ(plans.FNGetCoeffY("BIG"), std::numeric_limits<float>::lowest());
    EXPECT_EQ(plans.FNGetCoeffX("EDGE"), 1.0f);
    EXPECT_EQ(plans.FNGetCoeffY("EDGE"), std::numeric_limits<float>::max());
    ASSERT_TRUE(plans.Save());
    const std::string saved = "[PLANS]\r\nref:A|LadX:X|LadY:Y|CoeffX:1|CoeffY:2.25|R:0|\r\n"
                              "ref:|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                              "ref:BIG|LadX:X|LadY:Y|CoeffX:3.4028235E+38|CoeffY:-3.4028235E+38|R:0|\r\n"
                              "ref:EDGE|LadX:X|LadY:Y|CoeffX:1|CoeffY:3.4028235E+38|R:1|\r\n";
    EXPECT_EQ(ReadBytes(telvar_), saved);
    plans.Init(telvar_);
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(telvar_), saved);
}

TEST_F(ListsTest, ChannelNumbersTakeTheLeadingNumber) {
    const std::vector<std::pair<std::string, std::int32_t>> cases = {
        {"2a", 2}, {"abc", 0}, {"", 0}, {"2.5", 2}, {"3.5", 4}, {"-7", -7}, {"99999999999", 2147483647}};
    for (const auto& [text, number] : cases) EXPECT_EQ(ChannelNumberFromText(text), number) << text;
}

// What differs between plans and channels in the rules they share.
struct Rows {
    static void Add(clsPlansPDC& l, const std::string& n) { l.AddPlan(n, "X", "Y", 1, 1, false); }
    static void Add(clsCanaux& l, const std::string& n) { l.Add(n, 1, "", ""); }
    static bool Modify(clsPlansPDC& l, const std::string& o, const std::string& n) {
        return l.ModifPlan(o, n, "X", "Y", 1, 1, false);
    }
    static bool Modify(clsCanaux& l, const std::string& o, const std::string& n) {
        return l.Modif(o, n, 1, "", "");
    }
    static void Remove(clsPlansPDC& l, const std::string& n) { l.DeletePlan(n); }
    static void Remove(clsCanaux& l, const std::string& n) { l.Delete(n); }
};
template <typename List>
std::vector<std::string> Names(const List& list) {
    std::vector<std::string> names;
    for (const auto& item : list.Items()) names.push_back(item.FNRef());
    return names;
}

template <typename List>
class ListsShared : public ListsTest {};
using SharedLists = ::testing::Types<clsPlansPDC, clsCanaux>;
TYPED_TEST_SUITE(ListsShared, SharedLists);

TYPED_TEST(ListsShared, NamesSavingAndTheRestOfTheFile) {
    const std::string section = TypeParam::kSection;
    const std::string path = this->dir_ / (section + ".ini");
    WriteBytes(path,
               "; machine\r\n[TELVAR]\r\nSocket=1\r\n[" + section + "]\r\nref:OLD|\r\n[END]\r\nK=v\r\n");
    TypeParam list;
    list.Init(path);
    EXPECT_EQ(Names(list), std::vector<std::string>{"OLD"});

    for (int i = 0; i < 3; ++i) Rows::Add(list, "CH"); // a taken name is numbered
    EXPECT_EQ(Names(list), (std::vector<std::string>{"OLD", "CH", "CH_1", "CH_2"}));
    EXPECT_FALSE(Rows::Modify(list, "CH_1", "CH")) << "a rename onto a taken name is refused";
    EXPECT_TRUE(Rows::Modify(list, "CH_1", "CH2"));
    EXPECT_TRUE(Rows::Modify(list, "nobody", "CH")) << "an unknown name adds";
    EXPECT_EQ(Names(list), (std::vector<std::string>{"OLD", "CH", "CH2", "CH_2", "CH_1"}));
    for (const char* name : {"nobody", "CH", "CH_2"}) Rows::Remove(list, name);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"OLD", "CH2", "CH_1"}));

    // A name holding "|" is cut at it when read back.
    Rows::Add(list, "A|B");
    ASSERT_TRUE(list.Save());
    // The section is written anew, after the rest of the file.
    EXPECT_TRUE(ReadBytes(path).starts_with("; machine\r\n[TELVAR]\r\nSocket=1\r\n[END]\r\nK=v\r\n[" +
                                            section + "]\r\nref:OLD|"));
    list.Init(path);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"OLD", "CH2", "CH_1", "A"}));

    // An empty list removes the section and leaves the rest of the file alone.
    for (const std::string& name : Names(list)) Rows::Remove(list, name);
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(path), "; machine\r\n[TELVAR]\r\nSocket=1\r\n[END]\r\nK=v\r\n");
    list.Init(path);
    EXPECT_TRUE(Names(list).empty());
}

} // namespace
} // namespace kirva
