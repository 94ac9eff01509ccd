// MachineConfig: the in-memory record of one machine's Telvar.ini, plus the machine's entry in
// the calling program's settings file. Fields are spelled as the INI keys they hold; the key
// table (machine/KeyTable.h) says which section and key each one maps to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kirva {

// One workshop activity (section "WORKSHOP ACTIVITY", keys "CodeActivity" n, "RefActivity" n,
// "CarActivity" n).
struct WorkshopActivity {
    std::string RefActivity;
    std::int32_t CodeActivity = 0;
    std::string CarActivity;
};

// One channel used to analyse the machine's activity (section "CANAUX_ANALYSE", keys
// "RefCanal" n, "CodeCanal" n, "CarCanal" n). The three values are kept as typed.
struct AnalysisChannel {
    std::string RefCanal;  // "Référence du canal :"
    std::string CodeCanal; // "Code du canal :"
    std::string CarCanal;  // "Caractères :"
};

// Most activity-analysis channels a machine can hold.
inline constexpr std::size_t kMaxAnalysisChannels = 32;

struct MachineConfig {
    // ---------------------------------------------------------------- the caller's entry
    // Kept in the calling program's settings file (app/CallerSettings.h). PathFileProgOpen,
    // PathFileProgSave, PathArchive, ModeGestionBD and ChainExe are also keys of Telvar.ini:
    // one field each, shared by both files.
    std::string Name;        // machine name (for the DNC transfer program, its reference)
    std::string DirTreeView; // folder node of the caller's tree
    std::string ChainExe;    // [CHAINAGE] ChainExe, in both files
    std::string PathTelvar;  // folder of the machine's Telvar.ini, as the caller knows it
    std::string PathFileProgOpen;
    std::string PathFileProgSave;
    std::string PathArchive;
    std::string PathFileHead;
    std::string PathFileFeet;
    std::string CurrentPathDirLog; // read from the caller's file, never written
    std::int32_t OpenInBD = 0;
    std::int32_t ModeGestionBD = 0;
    std::string CoefXYZ;
    std::string InsKeyF[8]; // InsKeyF[0] is "InsKeyF5" ... InsKeyF[7] is "InsKeyF12"

    // ---------------------------------------------------------------- outside the file
    // The machine directory: the folder that holds Telvar.ini and Telvar.exe (and by default
    // Iso.ini). With or without a trailing separator. Writing goes to MachineDir + "Telvar.ini".
    std::string MachineDir;
    // Whether the server is started at logon: the Run value named after RefMO in the registry.
    bool StartWithWindows = false;

    // ---------------------------------------------------------------- [TELVAR]
    std::int32_t Socket = 0; // read, never written
    std::int32_t PortListen = 0;
    bool IconTray = false;

    // ---------------------------------------------------------------- [MANAGER]
    bool UseComManager = false;
    std::string IPComManager;
    std::int32_t PortComManager = 0; // written, never read

    // ---------------------------------------------------------------- [DNC]
    std::string RefMO;
    // PathFileProgOpen, PathFileProgSave, PathArchive: above (caller's entry)
    std::string PathMacroError;
    std::string CallSyntax;
    std::int32_t DataAccess = 0;
    bool Reboot = false;
    // ModeGestionBD: above (caller's entry); written to Telvar.ini, never read from it
    std::int32_t Methode = 0;
    bool FiltreCarSpec = false;
    bool IsModeEcoute = false;
    bool CheckBeforeSend = false;
    bool UseRPC = false;
    bool TrimBlocRecep = false;
    bool ReceivProgCrushed = false;
    bool ReceivProgCompareFiltered = false;
    std::int16_t NbCanaux = 0;
    std::int16_t TypeMulti = 0;
    bool ProgIndice = false;
    std::string PathIsoIni;
    std::int16_t Techno = 0;
    bool NotUseXVB = false;
    bool SendFirstAsLast = false;

    // ---------------------------------------------------------------- [COMM]
    std::int16_t NumPort = 0;
    std::string Bauds;
    std::string BaudsEnvoi;
    std::string DataBit;
    std::string StopBit;
    std::string Parite;
    std::int32_t TimeOut = 0;
    std::int32_t TimeOutEnvoi = 0;
    std::int16_t CtrlFlux = 0;
    std::string EOB;
    bool IsModePassant = false;
    std::int16_t ModeIRQ = 0;
    std::int16_t InBufferSize = 0;
    std::int16_t OutBufferSize = 0;
    std::int32_t TimeOutEcoute = 0;

    // ---------------------------------------------------------------- [OPTION_DNC]
    std::int32_t NbBlocAvance = 0;
    bool SendComment = false;
    bool SendCartouche = false;
    std::string Specificite;
    std::string CheckModeRecep;
    bool ConvertMazIso = false;
    bool SendEmptyLines = false;
    bool IsMultiAppel = false;
    std::string SepCarMultiAppel;
    bool CheckReceivBeforeAppel = false;
    std::int32_t NbReceivBeforeAppel = 0;
    bool CheckAllDataBase = false;
    bool RemonteBD = false;
    bool DefBlocDepFinAppel = false;
    std::string CarSepAppel;
    bool ConcatProgAppel = false;
    std::string MarqueurDebAppel;
    std::string MarqueurFinAppel;

    // ---------------------------------------------------------------- [CALL_COMM]
    // The keys of this section share their names with [COMM]; their fields carry "Call".
    std::int32_t CallMethode = 0;
    std::int16_t CallNumPort = 0;  // key "NumPort"
    std::string CallBauds;         // key "Bauds"
    std::string CallDataBit;       // key "DataBit"
    std::string CallStopBit;       // key "StopBit"
    std::string CallParite;        // key "Parite"
    std::int16_t CallCtrlFlux = 0; // key "CtrlFlux"

    // ---------------------------------------------------------------- [OPTION_T]
    std::string TCarFiltered;
    std::string TCarFilteredBy;
    std::string BOT;
    std::string EOT;
    double TempoBeforeSend = 0;

    // ---------------------------------------------------------------- [OPTION_R]
    std::string RCarFiltered;
    std::string RCarFilteredBy;
    std::string BOR;
    std::string EOR;
    std::string FiltreLigneRecep;

    // ---------------------------------------------------------------- [TEMPO]
    double TempoBloc = 0;
    double TempoCar = 0;
    // TimeOutBreak and TimeOutVideBuffer are constants of the file (see the key table).
    std::int32_t TimeOutModeRecep = 0;

    // ---------------------------------------------------------------- [SYNTAXE_MO]
    std::int32_t CodeCN = 0;
    std::int32_t CodeGroupCN = 0; // written, never read
    std::string CarDebProg;
    std::string CarDebBloc;
    std::string CarBlocOpt;
    std::string CarDebCom;
    std::string CarFinCom;
    std::int16_t NumBloc1 = 0;
    std::int16_t IncrBloc = 0;
    std::string BlocDeb;
    std::string BlocFin;
    std::string BlocType;
    std::int16_t NbTourelle = 0;
    std::int16_t NbPot = 0;
    std::int32_t NbMaxCarBloc = 0;
    std::string CarSepDec = ".";
    bool ForceSepDec = false;
    std::string FileExt;
    bool IJRel = false;
    bool ProgAuD = false;
    std::string LadR = "R";
    std::string Abs = "G90";
    std::string Rel = "G91";
    std::string CodeProgAuD;
    std::string CodeProgAuR;
    std::string LadX = "X";
    std::string LadY = "Y"; // written as "ladY"
    std::string LadZ = "Z";
    std::string CodeVcc = "G96";
    std::string CodeStr = "G97";
    std::string CodeVaMin = "G94";
    std::string CodeVaTr = "G95";
    std::string LadS = "S";
    std::string ChgtOutil;

    // ---------------------------------------------------------------- [SYNTAXE_CARTOUCHE]
    std::int32_t InsertMode = 0;
    bool HeaderVisible = false;
    std::string HeaderText;
    std::int32_t BlocLen = 0;
    bool BlocLenLimitation = false;
    std::string CarCartouche;
    std::int32_t CompactCartPosition = 0;
    bool XML = false;
    std::int32_t ModeInsert = 0;
    std::int32_t PosCarCart = 0;
    std::string CarOrLigneInsert;
    bool InsertOneCart = true;
    bool DontUpdateLigneNumProg = false;
    std::int16_t NbDigitNumProg = 0;
    bool NumeroterLigne = false;

    // ---------------------------------------------------------------- [RESEAU]
    std::int32_t RemoteMethode = 0;
    std::string RemoteHost;
    std::string RemotePort;
    std::string DefaultDirHostSend;
    std::string DefaultDirHostReceiv;
    std::int32_t TalmConnexionRole = 0;
    std::string UserName;
    std::string UserPassword;
    std::string DefautFileName;
    bool NumProgAsFileName = false;
    bool TransfertBasic = false;
    bool DeleteFileReseau = false;
    bool GroupeInFolder = false;

    // ---------------------------------------------------------------- [WORKSHOP ACTIVITY]
    // Activities 1..NbActivity; Activity[0] is unused. Keep both in step with SetNbActivity.
    std::int32_t NbActivity = 0;
    std::vector<WorkshopActivity> Activity = std::vector<WorkshopActivity>(1);
    void SetNbActivity(std::int32_t count) {
        NbActivity = count < 0 ? 0 : count;
        Activity.assign(static_cast<std::size_t>(NbActivity) + 1, WorkshopActivity{});
    }

    // ---------------------------------------------------------------- [CANAUX_ANALYSE]
    // The activity-analysis channels, in list order, at most kMaxAnalysisChannels.
    std::vector<AnalysisChannel> CanalAnalyse;

    // ---------------------------------------------------------------- [CHAINAGE]
    // ChainExe: above (caller's entry).
};

// Section "REMONTE" of Telvar.ini: one set program-wide, loaded and written with the machine.
struct RemonteState {
    bool RemonteDossier = false;
    std::string PathRemonte;
    bool NumProgAsUniqueID = false;
};

// The machine being edited and the program-wide "REMONTE" values (one of each per run).
MachineConfig& Machine();
RemonteState& Remonte();

} // namespace kirva
