// The machine's lists: ISO insertions (Iso.ini), reference plans and channels (Telvar.ini).
#include <gtest/gtest.h>

#include <functional>
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
};

// ---------------------------------------------------------------- ISO insertions

using ListsInsertIso = ListsTest;

std::vector<std::string> Names(clsInsertIso& list) {
    std::vector<std::string> names;
    for (std::int32_t order = 1; order <= list.NbElt(); ++order) names.push_back(list.GetNameByOrder(order));
    return names;
}

TEST_F(ListsInsertIso, LoadsTheSectionInFileOrder) {
    const std::string path = dir_ / "Iso.ini";
    WriteBytes(path, "[OTHER]\r\nA=1\r\n[INSERT]\r\nOrigine=iso:G90<R>M30|bmp:|Rac:1113|\r\n-\r\n"
                     "'Old=iso:G0|bmp:|Rac:|\r\nFin=iso:M30|bmp:fin.bmp|Rac:|\r\nBare\r\n");
    clsInsertIso list;
    list.Init(path);
    ASSERT_EQ(list.NbElt(), 4);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"Origine", "-", "Fin", "Bare"}));
    EXPECT_EQ(list.GetIso("Origine"), "G90<R>M30");
    EXPECT_EQ(list.GetRac("Origine"), "1113");
    EXPECT_EQ(list.GetBmp("Fin"), "fin.bmp");
    EXPECT_EQ(list.GetIso("Bare"), ""); // a line without its tags keeps its name only
    EXPECT_EQ(list.FNGetInfoIsoByOrder(3).Name(), "Fin");
}

// The comment rules of the section: "'" starts a comment unless it follows d, l or n of French
// text, in either case; the second quote of a doubled one follows a quote and ends the line.
TEST_F(ListsInsertIso, ApostrophesOfFrenchTextAndComments) {
    const std::string path = dir_ / "Iso.ini";
    WriteBytes(path, "[INSERT]\r\nL'outil=iso:T1 M6|bmp:|Rac:|\r\nD'abord=iso:G0 ' retour|bmp:|Rac:|\r\n"
                     "N'oublie=iso:M30|bmp:|Rac:|\r\nCoupe=iso:(l''usinage)|bmp:|Rac:|\r\n"
                     "Arret=iso:M00 ''pause''|bmp:|Rac:|\r\n'Ancien=iso:G1|bmp:|Rac:|\r\nT'as=iso:G2|\r\n");
    clsInsertIso list;
    list.Init(path);
    EXPECT_EQ(Names(list),
              (std::vector<std::string>{"L'outil", "D'abord", "N'oublie", "Coupe", "Arret", "T"}));
    EXPECT_EQ(list.GetIso("L'outil"), "T1 M6");
    EXPECT_EQ(list.GetIso("D'abord"), "G0");
    EXPECT_EQ(list.GetIso("N'oublie"), "M30");
    EXPECT_EQ(list.GetIso("Coupe"), "(l'");
    EXPECT_EQ(list.GetIso("Arret"), "M00");
    EXPECT_EQ(list.GetIso("T"), "");
}

TEST_F(ListsInsertIso, SavesEachInsertionAtItsOrderAndReadsItBack) {
    const std::string path = dir_ / "Iso.ini";
    clsInsertIso list;
    list.Init(path);
    list.AddIso("Origine");
    list.AddIso("-");
    list.AddIso("Fin");
    list.SetKey("Origine", "G90<R>M30", "", "1113");
    list.SetKey("-", "ignored", "x.bmp", "0112");
    list.SwitchOrdre(1, 3);
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(path),
              "[INSERT]\r\nFin=iso:|bmp:|Rac:|\r\n-\r\nOrigine=iso:G90<R>M30|bmp:|Rac:1113|\r\n");

    clsInsertIso again;
    again.Init(path);
    EXPECT_EQ(Names(again), (std::vector<std::string>{"Fin", "-", "Origine"}));
    EXPECT_EQ(again.GetIso("Origine"), "G90<R>M30");
    EXPECT_EQ(again.GetIso("-"), "");
}

TEST_F(ListsInsertIso, DeletingTheSecondOfThreeAndRefillingLeavesTwoOrders) {
    const std::string path = dir_ / "Iso.ini";
    clsInsertIso list;
    list.Init(path);
    for (const char* name : {"A", "B", "C"}) list.AddIso(name);
    ASSERT_TRUE(list.Delete(2));
    EXPECT_FALSE(list.Save()); // order 3 of 2 insertions: nothing is written before the refill
    EXPECT_EQ(ReadBytes(path), "");
    EXPECT_EQ(list.RenumberByOrder(), (std::vector<std::string>{"A", "C"}));
    EXPECT_EQ(list.FNGetInfoIsoByOrder(2).Name(), "C");
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(path), "[INSERT]\r\nA=iso:|bmp:|Rac:|\r\nC=iso:|bmp:|Rac:|\r\n");
}

TEST_F(ListsInsertIso, AnInsertionAddedTwiceIsShownAndSavedOnceWithTheOthersKept) {
    const std::string path = dir_ / "Iso.ini";
    clsInsertIso list;
    list.Init(path);
    for (const char* name : {"A", "B", "A"}) list.AddIso(name);
    list.SetKey("A", "G0", "", "");
    EXPECT_EQ(list.RenumberByOrder(), (std::vector<std::string>{"A", "B"}));
    ASSERT_TRUE(list.Save());
    EXPECT_EQ(ReadBytes(path), "[INSERT]\r\nA=iso:G0|bmp:|Rac:|\r\nB=iso:|bmp:|Rac:|\r\n");
}

TEST_F(ListsInsertIso, DeleteTakesTheCollectionPositionNotTheDisplayedOrder) {
    clsInsertIso list;
    list.Init(dir_ / "Iso.ini");
    for (const char* name : {"A", "B", "C"}) list.AddIso(name);
    list.SwitchOrdre(1, 2); // shown as B, A, C
    list.Delete(1);         // the first line shown is B, but position 1 holds A
    EXPECT_EQ(list.RenumberByOrder(), (std::vector<std::string>{"B", "C"}));
}

TEST_F(ListsInsertIso, ChangesThroughAFailedLookUpAreLost) {
    clsInsertIso list;
    list.Init(dir_ / "Iso.ini");
    list.AddIso("A");
    list.AddIso("A");
    list.SetKey("A", "second", "", ""); // look-ups by name take the last match
    EXPECT_EQ(list.FNGetInfoIsoByOrder(1).Iso(), "");
    EXPECT_EQ(list.FNGetInfoIsoByOrder(2).Iso(), "second");
    list.FNGetInfoIsoByOrder(7).Name("ghost");
    list.SetKey("nobody", "G0", "b.bmp", "0112");
    list.SetOrdre("nobody", 1);
    list.UpdateNameIso("nobody", "A2");
    list.SwitchOrdre(1, 9);
    EXPECT_EQ(list.NbElt(), 2);
    EXPECT_EQ(list.GetNameByOrder(7), "");
    EXPECT_EQ(list.FNGetInfoIsoByOrder(7).Name(), "");
    EXPECT_EQ(list.GetNameByOrder(1), "A");
    EXPECT_EQ(list.GetIso("A"), "second");
    EXPECT_EQ(list.GetName(5), "");
}

TEST_F(ListsInsertIso, AValueWithABarIsCutOnReload) {
    const std::string path = dir_ / "Iso.ini";
    clsInsertIso list;
    list.Init(path);
    list.AddIso("A");
    list.SetKey("A", "G1 X1|Y2", "pic|ture.bmp", "");
    ASSERT_TRUE(list.Save());
    clsInsertIso again;
    again.Init(path);
    EXPECT_EQ(again.GetIso("A"), "G1 X1");
    EXPECT_EQ(again.GetBmp("A"), "pic");
}

struct ShortcutCase {
    std::string code;
    std::string text;
};

TEST(ListsShortcut, KeyCodeToText) {
    const std::vector<ShortcutCase> cases = {
        {"0112", "F1"}, {"1065", "Shift + A"}, {"2113", "Ctrl + F2"}, {"2123", "Ctrl + F12"},
        {"0090", "Z"},  {"0097", ""},          {"0124", ""},          {"0064", ""},
        {"", ""},       {"3066", "B"},
    };
    for (const auto& c : cases) EXPECT_EQ(RacToText(c.code), c.text) << c.code;
}

TEST(ListsShortcut, TextToKeyCode) {
    const std::vector<ShortcutCase> cases = {
        {"2123", "Ctrl + F12"}, {"0097", "a"},    {"", ""},      {"1113", "Shift + F2"}, {"0112", "F1"},
        {"2065", "Ctrl + A"},   {"0066", "  B "}, {"0233", "é"}, {"0128", "€"},          {"0070", "Fx"},
        {"2070", "Ctrl + F"},   {"0063", "ж"},
    };
    for (const auto& c : cases) EXPECT_EQ(TextToRac(c.text), c.code) << c.text;
}

// ---------------------------------------------------------------- plans and channels

using ListsPlans = ListsTest;
using ListsCanaux = ListsTest;

TEST_F(ListsPlans, AddingUnderATakenNameNumbersIt) {
    clsPlansPDC plans;
    plans.Init(dir_ / "Telvar.ini");
    for (int i = 0; i < 3; ++i) plans.AddPlan("P", "X", "Z", 1, 2, false);
    EXPECT_EQ(plans.FNGetRefPlan(1), "P");
    EXPECT_EQ(plans.FNGetRefPlan(2), "P_1");
    EXPECT_EQ(plans.FNGetRefPlan(3), "P_2");
    EXPECT_EQ(plans.FNGetRefPlan(4), "");
    plans.DeletePlan("nobody");
    EXPECT_EQ(plans.NbElt(), 3);
    EXPECT_EQ(plans.FNGetLadX("nobody"), "");
    EXPECT_EQ(plans.FNGetCoeffX("nobody"), 0.0f);
    EXPECT_FALSE(plans.FNGetProgR("nobody"));
}

TEST_F(ListsPlans, DefaultsApplyOnAddAndOnLoadButNotOnModify) {
    const std::string path = dir_ / "Telvar.ini";
    clsPlansPDC plans;
    plans.Init(path);
    plans.AddPlan("P", "", "", 0, 0, false);
    plans.AddPlan("Q", "X", "Z", 1, 2, true);
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(path), "[PLANS]\r\nref:P|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                               "ref:Q|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:1|\r\n");

    ASSERT_TRUE(plans.ModifPlan("Q", "Q", "", "W", 0, 0.1f, true));
    EXPECT_EQ(plans.FNGetLadX("Q"), "");
    EXPECT_EQ(plans.FNGetCoeffX("Q"), 0.0f);
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(path), "[PLANS]\r\nref:P|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                               "ref:Q|LadX:|LadY:W|CoeffX:0|CoeffY:0.1|R:1|\r\n");

    clsPlansPDC again;
    again.Init(path);
    EXPECT_EQ(again.FNGetLadX("Q"), "X");
    EXPECT_EQ(again.FNGetCoeffX("Q"), 1.0f);
    EXPECT_EQ(again.FNGetCoeffY("Q"), 0.1f);
    EXPECT_TRUE(again.FNGetProgR("Q"));
}

TEST_F(ListsPlans, CoefficientsAreReadWithAPointOnly) {
    const std::string path = dir_ / "Telvar.ini";
    WriteBytes(path, "[PLANS]\r\nref:A|LadX:X|LadY:Y|CoeffX:1,5|CoeffY:2.25mm|R:yes|\r\nno tags at all\r\n");
    clsPlansPDC plans;
    plans.Init(path);
    ASSERT_EQ(plans.NbElt(), 2);
    EXPECT_EQ(plans.FNGetCoeffX("A"), 1.0f);
    EXPECT_EQ(plans.FNGetCoeffY("A"), 2.25f);
    EXPECT_FALSE(plans.FNGetProgR("A"));
    // A line without its tags is a plan with an empty name and the defaults.
    EXPECT_EQ(plans.FNGetRefPlan(2), "");
    EXPECT_EQ(plans.FNGetLadY(""), "Y");
    EXPECT_EQ(plans.FNGetCoeffY(""), 1.0f);
}

// A coefficient beyond the float range is held as the largest float of its sign (one too small
// for a float is 0, which reads as the default 1), and saved so that it reads back the same.
TEST_F(ListsPlans, CoefficientsBeyondTheFloatRange) {
    const std::string path = dir_ / "Telvar.ini";
    WriteBytes(path, "[PLANS]\r\nref:BIG|LadX:X|LadY:Y|CoeffX:1e39|CoeffY:-1e39|R:0|\r\n"
                     "ref:EDGE|LadX:X|LadY:Y|CoeffX:1e-50|CoeffY:3.5e38|R:1|\r\n");
    clsPlansPDC plans;
    plans.Init(path);
    EXPECT_EQ(plans.FNGetCoeffX("BIG"), std::numeric_limits<float>::max());
    EXPECT_EQ(plans.FNGetCoeffY("BIG"), std::numeric_limits<float>::lowest());
    EXPECT_EQ(plans.FNGetCoeffX("EDGE"), 1.0f);
    EXPECT_EQ(plans.FNGetCoeffY("EDGE"), std::numeric_limits<float>::max());
    ASSERT_TRUE(plans.Save());
    const std::string saved =
        "[PLANS]\r\nref:BIG|LadX:X|LadY:Y|CoeffX:3.4028235E+38|CoeffY:-3.4028235E+38|R:0|\r\n"
        "ref:EDGE|LadX:X|LadY:Y|CoeffX:1|CoeffY:3.4028235E+38|R:1|\r\n";
    EXPECT_EQ(ReadBytes(path), saved);
    plans.Init(path);
    EXPECT_EQ(plans.FNGetCoeffX("BIG"), std::numeric_limits<float>::max());
    ASSERT_TRUE(plans.Save());
    EXPECT_EQ(ReadBytes(path), saved);
}

TEST_F(ListsCanaux, ChannelNumbersTakeTheLeadingNumber) {
    const std::vector<std::pair<std::string, std::int32_t>> cases = {
        {"2a", 2}, {"abc", 0}, {"", 0}, {"2.5", 2}, {"3.5", 4}, {"-7", -7}, {"99999999999", 2147483647}};
    for (const auto& [text, number] : cases) EXPECT_EQ(ChannelNumberFromText(text), number) << text;
}

TEST_F(ListsCanaux, SavesAndReadsTheChannelLines) {
    const std::string path = dir_ / "Telvar.ini";
    clsCanaux channels;
    channels.Init(path);
    channels.Add("P1", 1, "$1", "");
    channels.Add("P1", 2, "$2", "E");
    ASSERT_TRUE(channels.Save());
    EXPECT_EQ(ReadBytes(path),
              "[CANAUX]\r\nref:P1|Pref:$1|Suff:|Canal:1|\r\nref:P1_1|Pref:$2|Suff:E|Canal:2|\r\n");
    clsCanaux again;
    again.Init(path);
    EXPECT_EQ(again.FNGetNumCanal("P1_1"), 2);
    EXPECT_EQ(again.FNGetPref("P1_1"), "$2");
    EXPECT_EQ(again.FNGetSuff("P1_1"), "E");
    EXPECT_EQ(again.FNGetNumCanal("nobody"), 0);
}

// The rules that plans and channels share, one row per list.
struct SharedListOps {
    std::string section;
    std::function<void(const std::string& path)> init;
    std::function<void(const std::string& name)> add;
    std::function<bool(const std::string& oldName, const std::string& name)> modify;
    std::function<void(const std::string& name)> remove;
    std::function<std::vector<std::string>()> names;
    std::function<bool()> save;
};

std::vector<SharedListOps> SharedLists(clsPlansPDC& plans, clsCanaux& channels) {
    return {
        {"PLANS", [&](const std::string& p) { plans.Init(p); },
         [&](const std::string& n) { plans.AddPlan(n, "X", "Y", 1, 1, false); },
         [&](const std::string& o, const std::string& n) {
             return plans.ModifPlan(o, n, "X", "Y", 1, 1, false);
         },
         [&](const std::string& n) { plans.DeletePlan(n); },
         [&] {
             std::vector<std::string> v;
             for (int i = 1; i <= plans.NbElt(); ++i) v.push_back(plans.FNGetRefPlan(i));
             return v;
         },
         [&] { return plans.Save(); }},
        {"CANAUX", [&](const std::string& p) { channels.Init(p); },
         [&](const std::string& n) { channels.Add(n, 1, "", ""); },
         [&](const std::string& o, const std::string& n) { return channels.Modif(o, n, 1, "", ""); },
         [&](const std::string& n) { channels.Delete(n); },
         [&] {
             std::vector<std::string> v;
             for (int i = 1; i <= channels.NbElt(); ++i) v.push_back(channels.FNGetRefCanal(i));
             return v;
         },
         [&] { return channels.Save(); }},
    };
}

TEST_F(ListsTest, PlansAndChannelsShareTheListRules) {
    clsPlansPDC plans;
    clsCanaux channels;
    for (const SharedListOps& list : SharedLists(plans, channels)) {
        SCOPED_TRACE(list.section);
        const std::string path = dir_ / (list.section + ".ini");
        WriteBytes(path, "; machine\r\n[TELVAR]\r\nSocket=1\r\n[" + list.section +
                             "]\r\nref:OLD|\r\n[END]\r\nK=v\r\n");
        list.init(path);
        EXPECT_EQ(list.names(), std::vector<std::string>{"OLD"});

        list.add("CH");
        list.add("CH");
        EXPECT_EQ(list.names(), (std::vector<std::string>{"OLD", "CH", "CH_1"}));
        EXPECT_FALSE(list.modify("CH_1", "CH")) << "a rename onto a taken name is refused";
        EXPECT_TRUE(list.modify("CH_1", "CH2"));
        EXPECT_TRUE(list.modify("nobody", "CH")) << "an unknown name adds";
        EXPECT_EQ(list.names(), (std::vector<std::string>{"OLD", "CH", "CH2", "CH_1"}));
        list.remove("nobody");
        list.remove("CH");
        EXPECT_EQ(list.names(), (std::vector<std::string>{"OLD", "CH2", "CH_1"}));

        // A name holding "|" is cut at it when read back.
        list.add("A|B");
        ASSERT_TRUE(list.save());
        // The section is written anew, after the rest of the file.
        EXPECT_TRUE(ReadBytes(path).starts_with("; machine\r\n[TELVAR]\r\nSocket=1\r\n[END]\r\nK=v\r\n[" +
                                                list.section + "]\r\nref:OLD|"));
        list.init(path);
        EXPECT_EQ(list.names(), (std::vector<std::string>{"OLD", "CH2", "CH_1", "A"}));

        // An empty list removes the section and leaves the rest of the file alone.
        for (const std::string& name : list.names()) list.remove(name);
        ASSERT_TRUE(list.save());
        EXPECT_EQ(ReadBytes(path), "; machine\r\n[TELVAR]\r\nSocket=1\r\n[END]\r\nK=v\r\n");
        list.init(path);
        EXPECT_TRUE(list.names().empty());
    }
}

} // namespace
} // namespace kirva
