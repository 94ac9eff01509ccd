// The service commands against stand-ins of sc and instsrv.exe: the command texts and the logs,
// the registry values of an installed service, the "Service" key of Telvar.ini, and the
// capture file, which never outlives its command.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "ini/profile.h"
#include "platform/platform.h"
#include "service/ServiceStandIns.h"
#include "service/TK_SERVICE.h"
#include "support/TestSupport.h"
#include "translate/translate.h"

#ifdef _WIN32
#include "support/WindowsTestSupport.h"
#undef StartService // <windows.h> would rename TK_SERVICE::StartService
#endif

namespace kirva {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::ScopedEnv;
using test::WriteBytes;

constexpr const char* kTelvar =
    "[TELVAR]\r\nHostName = CN12 \r\nPortListen=4000\r\n\r\n[DNC]\r\nReboot=0\r\n";
const std::string kServiceKey = "\\SYSTEM\\CurrentControlSet\\Services\\Srv A";
const std::string kRefused =
    "Le nom du service doit être renseigné, sans aucun des caractères \\ / \" $ ` %.\r\n";

// What the stand-ins receive and print, per system (see ServiceStandIns.h): sh makes the "\\\\"
// of a command one "\\" and the scripts end their lines with LF; cmd keeps "\\\\" and the
// stand-in program ends its printed lines with CR LF. The calls file has LF on both.
#ifdef _WIN32
constexpr const char* kHostPrefix = "\\\\";
constexpr const char* kPrintedEnd = "\r\n";
#else
constexpr const char* kHostPrefix = "\\";
constexpr const char* kPrintedEnd = "\n";
#endif

// What a stand-in prints: its first line, then each argument between brackets.
std::string Printed(const std::string& first, const std::vector<std::string>& arguments) {
    std::string text = first + kPrintedEnd;
    for (const std::string& argument : arguments) text += "[" + argument + "]" + kPrintedEnd;
    return text;
}
// What the sc stand-in prints for `sc \\\\<host> <verb> "Srv A" -> <capture>`.
std::string ScPrinted(const std::string& host, const std::string& verb) {
    return Printed("[SC] stand-in", {kHostPrefix + host, verb, "Srv A", "-"});
}
// The log of that command: the command as it ran, then what the stand-in printed.
std::string ScLogged(const std::string& host, const std::string& verb) {
    return "sc \\\\" + host + " " + verb + " \"Srv A\"\r\n" + ScPrinted(host, verb);
}
// The line of the calls file for the same command.
std::string ScCall(const std::string& host, const std::string& verb) {
    return "sc " + std::string(kHostPrefix) + host + " " + verb + " Srv A -\n";
}

// Whether the service's key exists (the operations other than install never write it).
bool ServiceKeyWritten() {
    return platform::RegReadString(platform::RegRoot::LocalMachine, kServiceKey, "ImagePath").has_value();
}

class Service : public ::testing::Test {
  protected:
    Service() {
        TK_TRANSLATE::Shared().Init("");
        ini::ClearCache();
        WriteBytes(TelvarPath(), kTelvar);
    }
    ~Service() override {
        ini::ClearCache();
        TK_TRANSLATE::Shared().Init(dictionary_);
    }

    std::string TelvarPath() const { return machineFolder + "Telvar.ini"; }
    std::string Calls() const { return standIns.Calls(); }
    void ForgetCalls() { fs::remove(dir / "calls.txt"); }

    std::string dictionary_ = TK_TRANSLATE::Shared().PathDico();
#ifdef _WIN32
    test::ScratchRegistry scratchRegistry; // the service keys go to a key of the test's own
#endif
    test::TempDir dir;
    ScopedEnv registry{"KIRVA_REGISTRY", dir / "registry.ini"};
    test::ServiceStandIns standIns{dir.path()};
    test::RecordingMessages messages;
    std::string machineFolder = dir / "M1/";
    TK_SERVICE::ServiceContext context{standIns.ProgramFolder(), machineFolder};
};

using Operation = std::function<std::string(const TK_SERVICE::ServiceContext&, const std::string&)>;

TEST_F(Service, QueryAndDeleteLogTheCommandAndWhatScPrinted) {
    struct Case {
        const char* verb;
        Operation run;
        std::string telvarAfter;
    };
    const Case cases[] = {
        {"query", TK_SERVICE::QueryService, kTelvar},
        {"delete", TK_SERVICE::DeleteService,
         "[TELVAR]\r\nHostName = CN12 \r\nPortListen=4000\r\nService=0\r\n\r\n[DNC]\r\nReboot=0\r\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.verb);
        WriteBytes(TelvarPath(), kTelvar);
        ForgetCalls();
        EXPECT_EQ(c.run(context, "Srv A"), ScLogged("CN12", c.verb));
        EXPECT_EQ(Calls(), ScCall("CN12", c.verb));
        EXPECT_EQ(ReadBytes(TelvarPath()), c.telvarAfter);
        EXPECT_FALSE(fs::exists(standIns.CaptureFile()));
    }
    EXPECT_FALSE(ServiceKeyWritten());
    EXPECT_TRUE(messages.entries.empty());
}

TEST_F(Service, InstallRunsInstsrvThenWritesTheServiceKeysAndTheFlag) {
    WriteBytes(TelvarPath(), "[TELVAR]\r\nHostName=CN12\r\nService=0\r\n");
    const std::string exe = standIns.ProgramFolder();
    const std::string server = machineFolder + "telvar.exe";

    const std::string log = TK_SERVICE::InstallService(context, "Srv A", server);

    const std::string command = exe + "instsrv.exe \"Srv A\" \"" + server + "\"";
    EXPECT_EQ(log, command + "\r\n" + Printed("The service was successfully added!", {"Srv A", server, "-"}));
    EXPECT_EQ(Calls(), "instsrv Srv A " + server + " -\n");
    EXPECT_FALSE(fs::exists(standIns.CaptureFile()));
    EXPECT_EQ(ReadBytes(TelvarPath()), "[TELVAR]\r\nHostName=CN12\r\nService=1\r\n");

    constexpr auto lm = platform::RegRoot::LocalMachine;
    EXPECT_EQ(platform::RegReadString(lm, kServiceKey, "ImagePath"), "\"" + exe + "srvany.exe\"");
    EXPECT_EQ(platform::RegReadString(lm, kServiceKey + "\\Parameters", "Application"), "\"" + server + "\"");
    EXPECT_EQ(platform::RegReadString(lm, kServiceKey, "Description"), "Marovex Telvareur");
    // clang-format off
    const std::vector<std::uint8_t> failureActions{128, 81, 1, 0,  0, 0, 0, 0,  0, 0, 0, 0,  3, 0, 0, 0,  20, 0, 0, 0,
        1, 0, 0, 0,  96, 234, 0, 0,  1, 0, 0, 0,  96, 234, 0, 0,  1, 0, 0, 0,  96, 234, 0, 0};
    // clang-format on
    EXPECT_EQ(platform::RegReadBinary(lm, kServiceKey, "FailureActions"), failureActions);
#ifndef _WIN32
    // The registry file as the other programs of the suite read it: ImagePath as an expandable string.
    EXPECT_EQ(ReadBytes(dir / "registry.ini"),
              "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Srv A]\n"
              "ImagePath=expand:\"\\\"" +
                  exe + "srvany.exe\\\"\"\n" +
                  "Description=Marovex Telvareur\n"
                  "FailureActions=hex:80,51,01,00,00,00,00,00,00,00,00,00,03,00,00,00,14,00,00,00,"
                  "01,00,00,00,60,ea,00,00,01,00,00,00,60,ea,00,00,01,00,00,00,60,ea,00,00\n"
                  "\n"
                  "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Srv A\\Parameters]\n"
                  "Application=\"" +
                  server + "\"\n");
#endif
}

TEST_F(Service, StartAndStopRunScWithoutWaitingThenQuery) {
    test::StartedCommands started(dir.path());
    struct Case {
        const char* verb;
        Operation run;
    };
    const Case cases[] = {{"start", TK_SERVICE::StartService}, {"stop", TK_SERVICE::StopService}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.verb);
        EXPECT_EQ(c.run(context, "Srv A"),
                  std::string("sc \\\\CN12 ") + c.verb + " \"Srv A\"\r\n" + ScLogged("CN12", "query"));
        EXPECT_EQ(started.Next(), kHostPrefix + std::string("CN12 ") + c.verb + " Srv A\n");
        EXPECT_FALSE(fs::exists(standIns.CaptureFile()));
    }
    EXPECT_EQ(ReadBytes(TelvarPath()), kTelvar);
}

TEST_F(Service, CaptureFileIsGoneAfterEveryCommand) {
    struct Case {
        const char* what;
        std::string programFolder;
        std::function<void(const std::string& capture)> before;
        std::string command;
        std::string output;
    };
    const auto nothing = [](const std::string&) {};
    const auto leftover = [](const std::string& capture) {
        WriteBytes(capture, "output of an earlier run\r\n");
        fs::permissions(capture, fs::perms::owner_read | fs::perms::group_read);
    };
    const auto removeFolder = [](const std::string& capture) { fs::remove(fs::path(capture).parent_path()); };
    const std::string exe = standIns.ProgramFolder();
#ifdef _WIN32
    const std::string failing = "set SC_EXIT=5&& sc \\\\CN12 query \"Srv A\"";
    const std::string silent = "set KIRVA_SILENT=1";
    const std::string unknown = "kirva-no-such-program /x 2>nul";
#else
    const std::string failing = "SC_EXIT=5 sc \\\\CN12 query \"Srv A\"";
    const std::string silent = "true";
    const std::string unknown = "kirva-no-such-program /x 2>/dev/null";
#endif
    const Case cases[] = {
        {"failing command", exe, nothing, failing, ScPrinted("CN12", "query")},
        {"nothing printed", exe, nothing, silent, ""},
        {"unknown program", exe, nothing, unknown, ""},
        {"read-only file of an earlier run", exe, leftover, "sc \\\\CN12 query \"Srv A\"",
         ScPrinted("CN12", "query")},
        {"blank in the program folder", dir / "Program Files/", nothing, "sc \\\\CN12 query \"Srv A\"",
         ScPrinted("CN12", "query")},
        // The shell cannot open the redirection and runs nothing: the log says there is no output.
        {"missing program folder", dir / "gone/", removeFolder, "sc \\\\CN12 query \"Srv A\"",
         "La sortie de la commande n'a pas pu être lue (" + dir / "gone/Sortie.txt).\r\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fs::create_directories(c.programFolder);
        const std::string capture = c.programFolder + "Sortie.txt";
        c.before(capture);
        EXPECT_EQ(TK_SERVICE::RunCommand({c.programFolder, machineFolder}, c.command), c.output);
        EXPECT_FALSE(fs::exists(capture));
    }
    EXPECT_EQ(Calls(), ScCall("CN12", "query") + ScCall("CN12", "query") + ScCall("CN12", "query"));
}

TEST_F(Service, ServiceFlagThatDidNotReachTheDiskIsSaid) {
    // A folder where Telvar.ini should be: the write is refused.
    const std::string blocked = dir / "M2/";
    fs::create_directories(blocked + "Telvar.ini");
    const std::string install =
        TK_SERVICE::InstallService({standIns.ProgramFolder(), blocked}, "Srv A", "/srv/telvar.exe");
    EXPECT_TRUE(install.ends_with("[-]" + std::string(kPrintedEnd) +
                                  "La clé Service (1) n'a pas pu être écrite dans le fichier " + blocked +
                                  "Telvar.ini.\r\n"))
        << install;
    EXPECT_EQ(TK_SERVICE::DeleteService({standIns.ProgramFolder(), blocked}, "Srv A"),
              ScLogged("", "delete") + "La clé Service (0) n'a pas pu être écrite dans le fichier " +
                  blocked + "Telvar.ini.\r\n");
    // A machine without a folder yet: nothing is written beside the program.
    EXPECT_EQ(TK_SERVICE::DeleteService({standIns.ProgramFolder(), ""}, "Srv A"),
              ScLogged("", "delete") +
                  "La clé Service (0) n'a pas été écrite : le dossier de la machine n'est pas connu.\r\n");
    EXPECT_FALSE(fs::exists("Telvar.ini"));
}

TEST_F(Service, NameThatCannotBeAServiceRunsNothing) {
    const Operation operations[] = {[](const TK_SERVICE::ServiceContext& c, const std::string& n) {
                                        return TK_SERVICE::InstallService(c, n, "/srv/telvar.exe");
                                    },
                                    TK_SERVICE::QueryService, TK_SERVICE::DeleteService,
                                    TK_SERVICE::StartService, TK_SERVICE::StopService};
    for (const std::string name :
         {"", "   ", "Srv\"A", "Srv\\A", "Srv/A", "Srv\nA", "Srv\tA", "$(reboot)", "Srv`id`", "%PATH%"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(TK_SERVICE::ValidServiceName(name));
        for (const Operation& run : operations) EXPECT_EQ(run(context, name), kRefused);
    }
    for (const std::string name : {"Srv A", "TelvarTOUR1", "Telvar-é_2"})
        EXPECT_TRUE(TK_SERVICE::ValidServiceName(name));
    EXPECT_EQ(Calls(), "");
    EXPECT_FALSE(ServiceKeyWritten());
    EXPECT_EQ(ReadBytes(TelvarPath()), kTelvar);
}

} // namespace
} // namespace kirva
