#include "machine/KeyTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"

namespace kirva {

namespace {

constexpr KeyAccess R = KeyAccess::Read;
constexpr KeyAccess W = KeyAccess::Write;
constexpr KeyAccess RW = KeyAccess::ReadWrite;

template <typename M>
constexpr KeyKind KindOf() {
    if constexpr (std::is_same_v<M, std::int16_t>) return KeyKind::Int16;
    if constexpr (std::is_same_v<M, std::int32_t>) return KeyKind::Int32;
    if constexpr (std::is_same_v<M, double>) return KeyKind::Double;
    if constexpr (std::is_same_v<M, bool>) return KeyKind::Bool;
    return KeyKind::String;
}

template <typename M, typename C>
constexpr KeySource SourceOf() {
    if constexpr (std::is_same_v<C, MachineConfig>) return KeySource::Record;
    if constexpr (std::is_same_v<C, RemonteState>) return KeySource::Remonte;
    if constexpr (std::is_same_v<C, WorkshopActivity>) return KeySource::Activity;
    return KeySource::Channel;
}

// A key held in a field; kind and source follow from the field's type.
template <typename M, typename C>
KeyDef Row(const char* section, const char* key, KeyAccess access, M C::*member, const char* def = nullptr,
           std::uint8_t rank = 0, std::uint8_t rules = RuleNone) {
    return KeyDef{section,           key,   nullptr, KindOf<M>(), access, def, SourceOf<M, C>(),
                  KeyMember(member), rules, rank};
}

// A key whose written value does not come from a field.
KeyDef Computed(const char* section, const char* key, KeySource source, const char* constant = nullptr) {
    return KeyDef{section, key, nullptr, KeyKind::String, W, constant, source, KeyMember(), RuleNone, 0};
}

KeyDef Count(const char* section, const char* key) {
    return KeyDef{section,     key,      nullptr, KeyKind::Int32, RW, nullptr, KeySource::Count,
                  KeyMember(), RuleNone, 0};
}

using M = MachineConfig;

const std::vector<KeyDef>& Table() {
    static const std::vector<KeyDef> table = [] {
        std::vector<KeyDef> t = {
            // [TELVAR]
            Row("TELVAR", "Socket", R, &M::Socket),
            Computed("TELVAR", "IPserver", KeySource::LocalIPAddress),
            Row("TELVAR", "PortListen", RW, &M::PortListen),
            Row("TELVAR", "IconTray", RW, &M::IconTray),
            // [MANAGER]
            Row("MANAGER", "UseComManager", RW, &M::UseComManager),
            Row("MANAGER", "IPComManager", RW, &M::IPComManager),
            Row("MANAGER", "PortComManager", W, &M::PortComManager),
            // [DNC]: the number is the reading order
            Row("DNC", "RefMO", RW, &M::RefMO, nullptr, 14),
            Computed("DNC", "PathData", KeySource::PathDirData),
            Row("DNC", "PathFileProgOpen", RW, &M::PathFileProgOpen, nullptr, 11),
            Row("DNC", "PathFileProgSave", RW, &M::PathFileProgSave, nullptr, 12),
            Row("DNC", "PathArchive", RW, &M::PathArchive, nullptr, 13),
            Row("DNC", "PathMacroError", RW, &M::PathMacroError, nullptr, 1),
            Row("DNC", "CallSyntax", RW, &M::CallSyntax, nullptr, 2),
            Row("DNC", "DataAccess", RW, &M::DataAccess, nullptr, 15),
            Row("DNC", "Reboot", RW, &M::Reboot, nullptr, 16),
            Row("DNC", "ModeGestionBD", W, &M::ModeGestionBD),
            Row("DNC", "Methode", RW, &M::Methode, nullptr, 3),
            Row("DNC", "FiltreCarSpec", RW, &M::FiltreCarSpec, nullptr, 4),
            Row("DNC", "IsModeEcoute", RW, &M::IsModeEcoute, nullptr, 5),
            Row("DNC", "CheckBeforeSend", RW, &M::CheckBeforeSend, nullptr, 6),
            Row("DNC", "UseRPC", RW, &M::UseRPC, nullptr, 7),
            Row("DNC", "TrimBlocRecep", RW, &M::TrimBlocRecep, nullptr, 8),
            Row("DNC", "ReceivProgCrushed", RW, &M::ReceivProgCrushed, nullptr, 9),
            Row("DNC", "ReceivProgCompareFiltered", RW, &M::ReceivProgCompareFiltered, nullptr, 10),
            Row("DNC", "NbCanaux", RW, &M::NbCanaux, nullptr, 17),
            Row("DNC", "TypeMulti", RW, &M::TypeMulti, nullptr, 18),
            Row("DNC", "ProgIndice", RW, &M::ProgIndice, nullptr, 19),
            Row("DNC", "PathIsoIni", RW, &M::PathIsoIni, nullptr, 20, RuleIsoIniDefault),
            Row("DNC", "Techno", RW, &M::Techno, nullptr, 21),
            Row("DNC", "NotUseXVB", RW, &M::NotUseXVB, nullptr, 23),
            Row("DNC", "SendFirstAsLast", RW, &M::SendFirstAsLast, nullptr, 24),
            // [REMONTE]: program-wide state
            Row("REMONTE", "RemonteDossier", RW, &RemonteState::RemonteDossier),
            Row("REMONTE", "PathRemonte", RW, &RemonteState::PathRemonte),
            Row("REMONTE", "NumProgAsUniqueID", RW, &RemonteState::NumProgAsUniqueID),
            // [COMM]
            Row("COMM", "NumPort", RW, &M::NumPort),
            Row("COMM", "Bauds", RW, &M::Bauds),
            Row("COMM", "BaudsEnvoi", RW, &M::BaudsEnvoi, nullptr, 0, RuleDefaultBauds),
            Row("COMM", "DataBit", RW, &M::DataBit),
            Row("COMM", "StopBit", RW, &M::StopBit),
            Row("COMM", "Parite", RW, &M::Parite),
            Row("COMM", "TimeOut", RW, &M::TimeOut),
            Row("COMM", "TimeOutEnvoi", RW, &M::TimeOutEnvoi),
            Row("COMM", "CtrlFlux", RW, &M::CtrlFlux),
            Row("COMM", "EOB", RW, &M::EOB),
            Row("COMM", "IsModePassant", RW, &M::IsModePassant),
            Row("COMM", "ModeIRQ", RW, &M::ModeIRQ, nullptr, 0, RuleReadAsText),
            Row("COMM", "InBufferSize", RW, &M::InBufferSize),
            Row("COMM", "OutBufferSize", RW, &M::OutBufferSize),
            Row("COMM", "TimeOutEcoute", RW, &M::TimeOutEcoute),
            // [OPTION_DNC]
            Row("OPTION_DNC", "NbBlocAvance", RW, &M::NbBlocAvance),
            Row("OPTION_DNC", "SendComment", RW, &M::SendComment),
            Row("OPTION_DNC", "SendCartouche", RW, &M::SendCartouche),
            Row("OPTION_DNC", "Specificite", RW, &M::Specificite),
            Row("OPTION_DNC", "CheckModeRecep", RW, &M::CheckModeRecep),
            Row("OPTION_DNC", "ConvertMazIso", RW, &M::ConvertMazIso),
            Row("OPTION_DNC", "SendEmptyLines", RW, &M::SendEmptyLines),
            Row("OPTION_DNC", "IsMultiAppel", RW, &M::IsMultiAppel),
            Row("OPTION_DNC", "SepCarMultiAppel", RW, &M::SepCarMultiAppel),
            Row("OPTION_DNC", "CheckReceivBeforeAppel", RW, &M::CheckReceivBeforeAppel),
            Row("OPTION_DNC", "NbReceivBeforeAppel", RW, &M::NbReceivBeforeAppel),
            Row("OPTION_DNC", "CheckAllDataBase", RW, &M::CheckAllDataBase),
            Row("OPTION_DNC", "RemonteBD", RW, &M::RemonteBD),
            Row("OPTION_DNC", "DefBlocDepFinAppel", RW, &M::DefBlocDepFinAppel),
            Row("OPTION_DNC", "CarSepAppel", RW, &M::CarSepAppel),
            Row("OPTION_DNC", "ConcatProgAppel", RW, &M::ConcatProgAppel),
            Row("OPTION_DNC", "MarqueurDebAppel", RW, &M::MarqueurDebAppel),
            Row("OPTION_DNC", "MarqueurFinAppel", RW, &M::MarqueurFinAppel),
            // [CALL_COMM]: fields prefixed "Call" (the keys repeat those of [COMM])
            Row("CALL_COMM", "CallMethode", RW, &M::CallMethode),
            Row("CALL_COMM", "NumPort", RW, &M::CallNumPort),
            Row("CALL_COMM", "Bauds", RW, &M::CallBauds),
            Row("CALL_COMM", "DataBit", RW, &M::CallDataBit),
            Row("CALL_COMM", "StopBit", RW, &M::CallStopBit),
            Row("CALL_COMM", "Parite", RW, &M::CallParite),
            Row("CALL_COMM", "CtrlFlux", RW, &M::CallCtrlFlux),
            // [OPTION_T], [OPTION_R]
            Row("OPTION_T", "TCarFiltered", RW, &M::TCarFiltered),
            Row("OPTION_T", "TCarFilteredBy", RW, &M::TCarFilteredBy),
            Row("OPTION_T", "BOT", RW, &M::BOT),
            Row("OPTION_T", "EOT", RW, &M::EOT),
            Row("OPTION_T", "TempoBeforeSend", RW, &M::TempoBeforeSend),
            Row("OPTION_R", "RCarFiltered", RW, &M::RCarFiltered),
            Row("OPTION_R", "RCarFilteredBy", RW, &M::RCarFilteredBy),
            Row("OPTION_R", "BOR", RW, &M::BOR),
            Row("OPTION_R", "EOR", RW, &M::EOR),
            Row("OPTION_R", "FiltreLigneRecep", RW, &M::FiltreLigneRecep),
            // [TEMPO]
            Row("TEMPO", "TempoBloc", RW, &M::TempoBloc),
            Row("TEMPO", "TempoCar", RW, &M::TempoCar),
            Computed("TEMPO", "TimeOutBreak", KeySource::Constant, "108000000"),
            Row("TEMPO", "TimeOutModeRecep", RW, &M::TimeOutModeRecep),
            Computed("TEMPO", "TimeOutVideBuffer", KeySource::Constant, "3600"),
            // [SYNTAXE_MO]: the number is the reading order
            Row("SYNTAXE_MO", "CodeCN", RW, &M::CodeCN, nullptr, 1),
            Row("SYNTAXE_MO", "CodeGroupCN", W, &M::CodeGroupCN),
            Row("SYNTAXE_MO", "CarDebProg", RW, &M::CarDebProg, nullptr, 2),
            Row("SYNTAXE_MO", "CarDebBloc", RW, &M::CarDebBloc, nullptr, 3),
            Row("SYNTAXE_MO", "CarBlocOpt", RW, &M::CarBlocOpt, nullptr, 4),
            Row("SYNTAXE_MO", "CarDebCom", RW, &M::CarDebCom, nullptr, 5),
            Row("SYNTAXE_MO", "CarFinCom", RW, &M::CarFinCom, nullptr, 6),
            Row("SYNTAXE_MO", "NumBloc1", RW, &M::NumBloc1, nullptr, 7),
            Row("SYNTAXE_MO", "IncrBloc", RW, &M::IncrBloc, nullptr, 8),
            Row("SYNTAXE_MO", "BlocDeb", RW, &M::BlocDeb, nullptr, 9),
            Row("SYNTAXE_MO", "BlocFin", RW, &M::BlocFin, nullptr, 10),
            Row("SYNTAXE_MO", "BlocType", RW, &M::BlocType, nullptr, 11),
            Row("SYNTAXE_MO", "NbTourelle", RW, &M::NbTourelle, nullptr, 12),
            Row("SYNTAXE_MO", "NbPot", RW, &M::NbPot, nullptr, 13),
            Row("SYNTAXE_MO", "NbMaxCarBloc", RW, &M::NbMaxCarBloc, nullptr, 14),
            Row("SYNTAXE_MO", "CarSepDec", RW, &M::CarSepDec, ".", 15),
            Row("SYNTAXE_MO", "ForceSepDec", RW, &M::ForceSepDec, nullptr, 16),
            Row("SYNTAXE_MO", "FileExt", RW, &M::FileExt, nullptr, 17, RuleLeadingDot),
            Row("SYNTAXE_MO", "IJRel", RW, &M::IJRel, nullptr, 18),
            Row("SYNTAXE_MO", "ProgAuD", RW, &M::ProgAuD, nullptr, 19),
            Row("SYNTAXE_MO", "LadR", RW, &M::LadR, "R", 24),
            Row("SYNTAXE_MO", "Abs", RW, &M::Abs, "G90", 20),
            Row("SYNTAXE_MO", "Rel", RW, &M::Rel, "G91", 21),
            Row("SYNTAXE_MO", "CodeProgAuD", RW, &M::CodeProgAuD, nullptr, 22),
            Row("SYNTAXE_MO", "CodeProgAuR", RW, &M::CodeProgAuR, nullptr, 23),
            Row("SYNTAXE_MO", "LadX", RW, &M::LadX, "X", 25),
            Row("SYNTAXE_MO", "ladY", RW, &M::LadY, "Y", 26),
            Row("SYNTAXE_MO", "LadZ", RW, &M::LadZ, "Z", 27),
            Row("SYNTAXE_MO", "CodeVcc", RW, &M::CodeVcc, "G96", 28),
            Row("SYNTAXE_MO", "CodeStr", RW, &M::CodeStr, "G97", 29),
            Row("SYNTAXE_MO", "CodeVaMin", RW, &M::CodeVaMin, "G94", 31),
            Row("SYNTAXE_MO", "CodeVaTr", RW, &M::CodeVaTr, "G95", 30),
            Row("SYNTAXE_MO", "LadS", RW, &M::LadS, "S", 32),
            Row("SYNTAXE_MO", "ChgtOutil", RW, &M::ChgtOutil, nullptr, 33),
            // [SYNTAXE_CARTOUCHE]
            Row("SYNTAXE_CARTOUCHE", "InsertMode", RW, &M::InsertMode),
            Row("SYNTAXE_CARTOUCHE", "HeaderVisible", RW, &M::HeaderVisible),
            Row("SYNTAXE_CARTOUCHE", "HeaderText", RW, &M::HeaderText),
            Row("SYNTAXE_CARTOUCHE", "BlocLen", RW, &M::BlocLen),
            Row("SYNTAXE_CARTOUCHE", "BlocLenLimitation", RW, &M::BlocLenLimitation),
            Row("SYNTAXE_CARTOUCHE", "CarCartouche", RW, &M::CarCartouche),
            Row("SYNTAXE_CARTOUCHE", "CompactCartPosition", RW, &M::CompactCartPosition),
            Row("SYNTAXE_CARTOUCHE", "XML", RW, &M::XML),
            Row("SYNTAXE_CARTOUCHE", "ModeInsert", RW, &M::ModeInsert),
            Row("SYNTAXE_CARTOUCHE", "PosCarCart", RW, &M::PosCarCart),
            Row("SYNTAXE_CARTOUCHE", "CarOrLigneInsert", RW, &M::CarOrLigneInsert),
            Row("SYNTAXE_CARTOUCHE", "InsertOneCart", RW, &M::InsertOneCart, "1"),
            Row("SYNTAXE_CARTOUCHE", "DontUpdateLigneNumProg", RW, &M::DontUpdateLigneNumProg),
            Row("SYNTAXE_CARTOUCHE", "NbDigitNumProg", RW, &M::NbDigitNumProg),
            Row("SYNTAXE_CARTOUCHE", "NumeroterLigne", RW, &M::NumeroterLigne),
            // [RESEAU]
            Row("RESEAU", "RemoteMethode", RW, &M::RemoteMethode),
            Row("RESEAU", "RemoteHost", RW, &M::RemoteHost),
            Row("RESEAU", "RemotePort", RW, &M::RemotePort),
            Row("RESEAU", "DefaultDirHostSend", RW, &M::DefaultDirHostSend),
            Row("RESEAU", "DefaultDirHostReceiv", RW, &M::DefaultDirHostReceiv),
            Row("RESEAU", "TalmConnexionRole", RW, &M::TalmConnexionRole),
            Row("RESEAU", "UserName", RW, &M::UserName),
            Row("RESEAU", "UserPassword", RW, &M::UserPassword),
            Row("RESEAU", "DefautFileName", RW, &M::DefautFileName),
            Row("RESEAU", "NumProgAsFileName", RW, &M::NumProgAsFileName),
            Row("RESEAU", "TransfertBasic", RW, &M::TransfertBasic),
            Row("RESEAU", "DeleteFileReseau", RW, &M::DeleteFileReseau),
            Row("RESEAU", "GroupeInFolder", RW, &M::GroupeInFolder),
            // [WORKSHOP ACTIVITY]: the count, then code, reference, character of each activity
            Count("WORKSHOP ACTIVITY", "NbActivity"),
            Row("WORKSHOP ACTIVITY", "CodeActivity", RW, &WorkshopActivity::CodeActivity),
            Row("WORKSHOP ACTIVITY", "RefActivity", RW, &WorkshopActivity::RefActivity),
            Row("WORKSHOP ACTIVITY", "CarActivity", RW, &WorkshopActivity::CarActivity),
            // [CANAUX_ANALYSE]: the activity-analysis channels, the same way
            Count("CANAUX_ANALYSE", "NbCanalAnalyse"),
            Row("CANAUX_ANALYSE", "RefCanal", RW, &AnalysisChannel::RefCanal),
            Row("CANAUX_ANALYSE", "CodeCanal", RW, &AnalysisChannel::CodeCanal),
            Row("CANAUX_ANALYSE", "CarCanal", RW, &AnalysisChannel::CarCanal),
            // [CHAINAGE]: read inside [DNC] (between Techno and NotUseXVB), again on its own,
            // and written last of all
            Row("CHAINAGE", "ChainExe", RW, &M::ChainExe, nullptr, 22, RuleReadAgain),
        };
        for (auto& row : t) {
            if (std::string_view(row.Key) == "ladY") row.ReadKey = "LadY";
            if (std::string_view(row.Key) == "ChainExe") row.ReadIn = "DNC";
        }
        return t;
    }();
    return table;
}

constexpr const char* kReadSectionOrder[] = {
    "TELVAR",     "MANAGER",           "DNC",      "REMONTE",           "COMM",
    "OPTION_DNC", "CALL_COMM",         "OPTION_T", "OPTION_R",          "TEMPO",
    "SYNTAXE_MO", "SYNTAXE_CARTOUCHE", "RESEAU",   "WORKSHOP ACTIVITY", "CANAUX_ANALYSE",
    "CHAINAGE"};

std::string PlainNumber(double value) {
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        return std::to_string(static_cast<long long>(value));
    }
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.15g", value);
    return buf;
}

} // namespace

std::span<const KeyDef> KeyTable() {
    return Table();
}

std::span<const char* const> ReadSections() {
    return kReadSectionOrder;
}

const KeyDef* FindKey(std::string_view section, std::string_view key) {
    // Every (section, spelling) once, upper-cased; the first row of a name wins.
    static const std::unordered_map<std::string, const KeyDef*> index = [] {
        std::unordered_map<std::string, const KeyDef*> rows;
        for (const auto& row : Table()) {
            const std::string section = ToUpper(row.Section) + '\0';
            rows.try_emplace(section + ToUpper(row.Key), &row);
            rows.try_emplace(section + ToUpper(row.KeyForReading()), &row);
        }
        return rows;
    }();
    const auto found = index.find(ToUpper(std::string(section)) + '\0' + ToUpper(std::string(key)));
    return found == index.end() ? nullptr : found->second;
}

double KindMin(KeyKind kind) {
    switch (kind) {
    case KeyKind::Int16:
        return std::numeric_limits<std::int16_t>::min();
    case KeyKind::Int32:
        return std::numeric_limits<std::int32_t>::min();
    default:
        return std::numeric_limits<double>::lowest();
    }
}

double KindMax(KeyKind kind) {
    switch (kind) {
    case KeyKind::Int16:
        return std::numeric_limits<std::int16_t>::max();
    case KeyKind::Int32:
        return std::numeric_limits<std::int32_t>::max();
    default:
        return std::numeric_limits<double>::max();
    }
}

std::string GetKeyText(const MachineConfig& machine, const RemonteState& remonte, const KeyDef& def) {
    if (const auto* s = KeyField<std::string>(machine, remonte, def)) {
        if (def.Rules & RuleLeadingDot) {
            std::string ext = Trim(*s);
            return ext.empty() || ext[0] == '.' ? ext : "." + ext;
        }
        return *s;
    }
    if (const auto* b = KeyField<bool>(machine, remonte, def)) return *b ? "1" : "0";
    if (const auto* i = KeyField<std::int16_t>(machine, remonte, def)) return std::to_string(*i);
    if (const auto* i = KeyField<std::int32_t>(machine, remonte, def)) return std::to_string(*i);
    if (const auto* d = KeyField<double>(machine, remonte, def)) return PlainNumber(*d);
    switch (def.Source) {
    case KeySource::Constant:
        return def.Default ? def.Default : "";
    case KeySource::Count:
        if (std::string_view(def.Key) == "NbActivity") {
            const std::size_t held = machine.Activity.empty() ? 0 : machine.Activity.size() - 1;
            return std::to_string(std::clamp<std::int64_t>(machine.NbActivity, 0, std::int64_t(held)));
        }
        return std::to_string(std::min(machine.CanalAnalyse.size(), kMaxAnalysisChannels));
    default:
        return {};
    }
}

bool SetKeyText(MachineConfig& machine, RemonteState& remonte, const KeyDef& def, const std::string& text) {
    if (auto* s = KeyField<std::string>(machine, remonte, def)) {
        *s = text;
        return true;
    }
    if (auto* b = KeyField<bool>(machine, remonte, def)) {
        *b = Trim(text) == "1";
        return true;
    }
    double value = ParseLeadingNumber(Trim(text));
    if (!std::isfinite(value)) return false;
    if (auto* d = KeyField<double>(machine, remonte, def)) {
        *d = value;
        return true;
    }
    value = RoundHalfEven(value);
    if (value < KindMin(def.Kind) || value > KindMax(def.Kind)) return false;
    if (auto* i = KeyField<std::int16_t>(machine, remonte, def)) {
        *i = static_cast<std::int16_t>(value);
        return true;
    }
    if (auto* i = KeyField<std::int32_t>(machine, remonte, def)) {
        *i = static_cast<std::int32_t>(value);
        return true;
    }
    return false;
}

MachineConfig& Machine() {
    static MachineConfig machine;
    return machine;
}

RemonteState& Remonte() {
    static RemonteState remonte;
    return remonte;
}

} // namespace kirva
