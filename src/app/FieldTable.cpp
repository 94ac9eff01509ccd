#include "app/FieldTable.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/helpers.h"

namespace kirva {

namespace {

using W = FieldWidget;
using L = FieldList;
using C = FieldConv;
using S = FieldStore;
constexpr std::uint8_t H2 = FlagHiddenInMode2;
constexpr std::uint8_t OPT = FlagOptional; // a machine may leave it empty (docs/window-fields.md)

// One line a field: array, member, panel, group, label, widget, list, conversion, store, section,
// key [, cmdExit member beside it] [, flags]. Rows are in panel order; inside a panel, in the
// order the fields stand (which is also the tab order).
// clang-format off
const std::vector<FieldDef>& Rows() {
    static const std::vector<FieldDef> rows = {
        // ------------------------------------------------------------ 1 Général
        {"TxtTelvar", 1, "1", "Machine", "Référence machine :", W::Line, L::None, C::Text, S::Telvar, "DNC", "RefMO"},
        {"TxtTelvar", 3, "1", "Machine", "Nom de la machine :", W::Line, L::None, C::Text, S::Caller, nullptr, "Name", -1, H2},
        {"cboTelvar", 1, "1", "Machine", "Dossier de l'arborescence :", W::EditCombo, L::FolderNodes, C::Text, S::Caller, nullptr, "DirTreeView", -1, H2},
        {"cboTelvar", 31, "1", "Machine", "Méthode de transfert :", W::Combo, L::TransferMethods, C::Index, S::Telvar, "DNC", "Methode"},
        {"TxtTelvar", 48, "1", "Paramètres du Telvareur :", "Dossier Port DNC :", W::Line, L::None, C::Text, S::Caller, nullptr, "PathTelvar"},
        {"TxtTelvar", 6, "1", "Paramètres du Telvareur :", "Port d'écoute :", W::Line, L::None, C::Text, S::Telvar, "TELVAR", "PortListen"},
        {"chkTelvar", 2, "1", "Paramètres du Telvareur :", "Icône dans la zone de notification", W::Check, L::None, C::Text, S::Telvar, "TELVAR", "IconTray"},
        {"chkTelvar", 0, "1", "Paramètres du Telvareur :", "Rebooter après activité", W::Check, L::None, C::Text, S::Telvar, "DNC", "Reboot"},
        {"chkTelvar", 1, "1", "Paramètres du Telvareur :", "Lancer au démarrage", W::Check, L::None, C::Text, S::Registry, nullptr, "StartWithWindows"},
        {"chkTelvar", 3, "1", "Gestionnaire de communication", "Piloté par le gestionnaire de communication", W::Check, L::None, C::Text, S::Telvar, "MANAGER", "UseComManager"},
        {"TxtTelvar", 7, "1", "Gestionnaire de communication", "Adresse IP du gestionnaire :", W::Line, L::None, C::Text, S::Telvar, "MANAGER", "IPComManager"},
        {"TxtTelvar", 8, "1", "Gestionnaire de communication", "Port du gestionnaire :", W::Line, L::None, C::Text, S::Telvar, "MANAGER", "PortComManager"},
        // ------------------------------------------------------------ 1.1 Gestion
        {"cboTelvar", 50, "1.1", "Gestionnaire de programmes", "Ouverture des programmes :", W::Combo, L::OpeningModes, C::Index, S::Caller, nullptr, "OpenInBD", -1, H2},
        {"TxtTelvar", 9, "1.1", "Gestionnaire de programmes", "Mode de gestion base de données :", W::Line, L::None, C::Text, S::Both, "DNC", "ModeGestionBD", -1, H2},
        {"TxtTelvar", 5, "1.1", "Gestionnaire de programmes", "Dossier de log courant :", W::Info, L::None, C::Text, S::Caller, nullptr, "CurrentPathDirLog", -1, H2},
        {"cboTelvar", 2, "1.1", "Accès aux données", "Mode de lecture :", W::Combo, L::ReadingModes, C::Index, S::Telvar, "DNC", "DataAccess", -1, OPT},
        // ------------------------------------------------------------ 1.2 Dossiers
        {"TxtTelvar", 49, "1.2", "Dossiers des programmes", "Dossier 'Open' :", W::Line, L::None, C::Text, S::Both, "DNC", "PathFileProgOpen", 3},
        {"TxtTelvar", 98, "1.2", "Dossiers des programmes", "Dossier 'Save' :", W::Line, L::None, C::Text, S::Both, "DNC", "PathFileProgSave", 8},
        {"TxtTelvar", 99, "1.2", "Dossiers des programmes", "Dossier Archive :", W::Line, L::None, C::Text, S::Both, "DNC", "PathArchive", 13},
        {"chkDnc", 9, "1.2", "Remontée des programmes", "Remonter un dossier complet", W::Check, L::None, C::Text, S::Telvar, "REMONTE", "RemonteDossier"},
        {"TxtDnc", 13, "1.2", "Remontée des programmes", "Dossier de remontée :", W::Line, L::None, C::Text, S::Telvar, "REMONTE", "PathRemonte"},
        {"chkDnc", 10, "1.2", "Remontée des programmes", "Le numéro de programme est l'identifiant unique", W::Check, L::None, C::Text, S::Telvar, "REMONTE", "NumProgAsUniqueID"},
        {"TxtDnc", 64, "1.2", "Macro d'erreur", "Fichier macro :", W::Line, L::None, C::Text, S::Telvar, "DNC", "PathMacroError"},
        // ------------------------------------------------------------ 2 Programmation
        {"cboIso", 2, "2", "Commande numérique", "Groupe de CN :", W::Combo, L::CatalogueGroups, C::CatalogueCode, S::Telvar, "SYNTAXE_MO", "CodeGroupCN", -1, OPT},
        {"cboIso", 3, "2", "Commande numérique", "Modèle de CN :", W::Combo, L::CatalogueModels, C::CatalogueCode, S::Telvar, "SYNTAXE_MO", "CodeCN", -1, OPT},
        {"cboIso", 110, "2", "Commande numérique", "Type d'usinage :", W::Combo, L::MachiningTypes, C::Index, S::Telvar, "DNC", "Techno"},
        {"txtIso", 14, "2", "Commande numérique", "Nombre de tourelles :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "NbTourelle"},
        {"txtIso", 15, "2", "Commande numérique", "Nombre de pots d'outils :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "NbPot"},
        // ------------------------------------------------------------ 2.1 Syntaxe
        {"txtIso", 1, "2.1", "Programme et blocs", "Caractère de début de programme :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarDebProg"},
        {"txtIso", 2, "2.1", "Programme et blocs", "Caractère de début de bloc :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarDebBloc"},
        {"txtIso", 3, "2.1", "Programme et blocs", "Caractère de bloc optionnel :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarBlocOpt"},
        {"txtIso", 4, "2.1", "Programme et blocs", "Caractère de début de commentaire :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarDebCom"},
        {"txtIso", 5, "2.1", "Programme et blocs", "Caractère de fin de commentaire :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarFinCom"},
        {"txtIso", 8, "2.1", "Programme et blocs", "Bloc de début :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "BlocDeb"},
        {"txtIso", 9, "2.1", "Programme et blocs", "Bloc de fin :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "BlocFin"},
        {"txtIso", 10, "2.1", "Programme et blocs", "Type de bloc :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "BlocType"},
        {"txtIso", 11, "2.1", "Programme et blocs", "Nombre maximal de caractères par bloc :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "NbMaxCarBloc"},
        {"txtIso", 6, "2.1", "Numérotation des blocs", "Numéro du premier bloc :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "NumBloc1"},
        {"txtIso", 7, "2.1", "Numérotation des blocs", "Incrément des numéros de bloc :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "IncrBloc"},
        {"txtIso", 12, "2.1", "Nombres et fichiers", "Séparateur décimal :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CarSepDec"},
        {"chkIso", 0, "2.1", "Nombres et fichiers", "Forcer le séparateur décimal", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "ForceSepDec"},
        {"txtIso", 13, "2.1", "Nombres et fichiers", "Extension des programmes :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "FileExt"},
        // ------------------------------------------------------------ 2.2 Cartouche
        {"optIso", 125, "2.2", "Cartouche", "Mode du cartouche :", W::Options, L::HeaderModes, C::Index, S::Telvar, "SYNTAXE_CARTOUCHE", "InsertMode"},
        {"optIso", 128, "2.2", "Cartouche", "Affichage du cartouche :", W::Options, L::HeaderVisibility, C::Index, S::Telvar, "SYNTAXE_CARTOUCHE", "HeaderVisible"},
        {"txtIso", 124, "2.2", "Cartouche", "Texte du cartouche :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "HeaderText"},
        {"txtIso", 120, "2.2", "Cartouche", "Caractère du cartouche :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "CarCartouche"},
        {"cboIso", 108, "2.2", "Cartouche", "Position du caractère :", W::Combo, L::CommentPositions, C::Index, S::Telvar, "SYNTAXE_CARTOUCHE", "PosCarCart"},
        {"txtIso", 121, "2.2", "Cartouche", "Longueur des blocs :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "BlocLen"},
        {"chkIso", 3, "2.2", "Cartouche", "Limiter la longueur des blocs", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "BlocLenLimitation"},
        {"txtIso", 123, "2.2", "Cartouche", "Position du cartouche compact :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "CompactCartPosition"},
        {"chkIso", 4, "2.2", "Cartouche", "Cartouche au format XML", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "XML"},
        {"cboIso", 109, "2.2", "Insertion du cartouche", "Position d'insertion :", W::Combo, L::InsertionPositions, C::Index, S::Telvar, "SYNTAXE_CARTOUCHE", "ModeInsert"},
        {"txtIso", 122, "2.2", "Insertion du cartouche", "Caractère ou numéro de ligne :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "CarOrLigneInsert"},
        {"chkIso", 5, "2.2", "Insertion du cartouche", "Insérer un seul cartouche", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "InsertOneCart"},
        {"chkIso", 6, "2.2", "Insertion du cartouche", "Ne pas mettre à jour la ligne du numéro de programme", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "DontUpdateLigneNumProg"},
        {"txtIso", 130, "2.2", "Insertion du cartouche", "Chiffres du numéro de programme :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "NbDigitNumProg"},
        {"chkIso", 7, "2.2", "Insertion du cartouche", "Numéroter les lignes", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_CARTOUCHE", "NumeroterLigne"},
        {"TxtTelvar", 53, "2.2", "Fichiers d'entête et de pied", "Fichier 'Entête' :", W::Line, L::None, C::Text, S::Caller, nullptr, "PathFileHead", -1, H2},
        {"TxtTelvar", 54, "2.2", "Fichiers d'entête et de pied", "Fichier 'Pied' :", W::Line, L::None, C::Text, S::Caller, nullptr, "PathFileFeet", -1, H2},
        // ------------------------------------------------------------ 2.3 Iso
        {"txtIso", 20, "2.3", "tabIso/Coordonnées", "Code absolu :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "Abs"},
        {"txtIso", 21, "2.3", "tabIso/Coordonnées", "Code relatif :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "Rel"},
        {"txtIso", 25, "2.3", "tabIso/Coordonnées", "Lettre de l'axe X :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "LadX"},
        {"txtIso", 26, "2.3", "tabIso/Coordonnées", "Lettre de l'axe Y :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "ladY"},
        {"txtIso", 27, "2.3", "tabIso/Coordonnées", "Lettre de l'axe Z :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "LadZ"},
        {"txtIso", 22, "2.3", "tabIso/Coordonnées", "Lettre du rayon :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "LadR"},
        {"chkIso", 1, "2.3", "tabIso/Coordonnées", "Centres I, J relatifs", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "IJRel"},
        {"chkIso", 2, "2.3", "tabIso/Coordonnées", "Programmation au diamètre", W::Check, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "ProgAuD"},
        {"txtIso", 23, "2.3", "tabIso/Coordonnées", "Code de programmation au diamètre :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeProgAuD"},
        {"txtIso", 24, "2.3", "tabIso/Coordonnées", "Code de programmation au rayon :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeProgAuR"},
        {"txtIso", 28, "2.3", "tabIso/Vitesses et outils", "Code de vitesse de coupe constante :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeVcc"},
        {"txtIso", 29, "2.3", "tabIso/Vitesses et outils", "Code de vitesse de broche constante :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeStr"},
        {"txtIso", 30, "2.3", "tabIso/Vitesses et outils", "Code d'avance par minute :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeVaMin"},
        {"txtIso", 31, "2.3", "tabIso/Vitesses et outils", "Code d'avance par tour :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "CodeVaTr"},
        {"txtIso", 32, "2.3", "tabIso/Vitesses et outils", "Lettre de vitesse de broche :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "LadS"},
        {"txtIso", 33, "2.3", "tabIso/Vitesses et outils", "Code de changement d'outil :", W::Line, L::None, C::Text, S::Telvar, "SYNTAXE_MO", "ChgtOutil"},
        // ------------------------------------------------------------ 2.4 Canaux
        {"TxtDnc", 7, "2.4", "Multi-canaux", "Nombre de canaux :", W::Line, L::None, C::Text, S::Telvar, "DNC", "NbCanaux"},
        {"cboDnc", 1, "2.4", "Multi-canaux", "Type multi-canaux :", W::Combo, L::MultiProgModes, C::Index, S::Telvar, "DNC", "TypeMulti"},
        // ------------------------------------------------------------ 3 DNC
        {"chkDnc", 1, "3", "Transfert", "Mode écoute", W::Check, L::None, C::Text, S::Telvar, "DNC", "IsModeEcoute"},
        {"chkDnc", 2, "3", "Transfert", "Vérifier avant l'envoi", W::Check, L::None, C::Text, S::Telvar, "DNC", "CheckBeforeSend"},
        {"chkDnc", 3, "3", "Transfert", "Utiliser RPC", W::Check, L::None, C::Text, S::Telvar, "DNC", "UseRPC"},
        {"chkDnc", 7, "3", "Transfert", "Ne pas utiliser XVB", W::Check, L::None, C::Text, S::Telvar, "DNC", "NotUseXVB"},
        {"chkDnc", 8, "3", "Transfert", "Envoyer le premier bloc en dernier", W::Check, L::None, C::Text, S::Telvar, "DNC", "SendFirstAsLast"},
        {"chkDnc", 12, "3", "Transfert", "Envoyer les commentaires", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "SendComment"},
        {"chkDnc", 13, "3", "Transfert", "Envoyer le cartouche", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "SendCartouche"},
        {"chkDnc", 14, "3", "Transfert", "Convertir les programmes Mazatrol en ISO", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "ConvertMazIso"},
        {"chkDnc", 15, "3", "Transfert", "Envoyer les lignes vides", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "SendEmptyLines"},
        {"cboDnc", 28, "3", "Transfert", "Nombre de blocs d'avance :", W::EditCombo, L::Steps10To65, C::Text, S::Telvar, "OPTION_DNC", "NbBlocAvance"},
        {"cboDnc", 3, "3", "Transfert", "Spécificité :", W::EditCombo, L::Specificities, C::Text, S::Telvar, "OPTION_DNC", "Specificite"},
        {"chkDnc", 5, "3", "Réception", "Ecraser le programme existant", W::Check, L::None, C::Text, S::Telvar, "DNC", "ReceivProgCrushed"},
        {"chkDnc", 6, "3", "Réception", "Comparer le programme reçu après filtrage", W::Check, L::None, C::Text, S::Telvar, "DNC", "ReceivProgCompareFiltered"},
        {"cboDnc", 2, "3", "Réception", "Numérotation des programmes :", W::Combo, L::NumberingModes, C::Index, S::Telvar, "DNC", "ProgIndice"},
        // ------------------------------------------------------------ 3.1 Filtres
        {"chkDnc", 0, "3.1", "Filtres", "Filtrer les caractères spéciaux", W::Check, L::None, C::Text, S::Telvar, "DNC", "FiltreCarSpec"},
        {"chkDnc", 4, "3.1", "Filtres", "Supprimer les blancs des blocs reçus", W::Check, L::None, C::Text, S::Telvar, "DNC", "TrimBlocRecep"},
        {"TxtDnc", 16, "3.1", "tabDnc/Emission", "Caractères filtrés :", W::Line, L::None, C::Text, S::Telvar, "OPTION_T", "TCarFiltered"},
        {"TxtDnc", 17, "3.1", "tabDnc/Emission", "Remplacés par :", W::Line, L::None, C::Text, S::Telvar, "OPTION_T", "TCarFilteredBy"},
        {"TxtDnc", 1, "3.1", "tabDnc/Emission", "Début de transmission (BOT) :", W::Line, L::None, C::Text, S::Telvar, "OPTION_T", "BOT"},
        {"TxtDnc", 2, "3.1", "tabDnc/Emission", "Fin de transmission (EOT) :", W::Line, L::None, C::Text, S::Telvar, "OPTION_T", "EOT"},
        {"TxtDnc", 33, "3.1", "tabDnc/Réception", "Caractères filtrés :", W::Line, L::None, C::Text, S::Telvar, "OPTION_R", "RCarFiltered"},
        {"TxtDnc", 34, "3.1", "tabDnc/Réception", "Remplacés par :", W::Line, L::None, C::Text, S::Telvar, "OPTION_R", "RCarFilteredBy"},
        {"TxtDnc", 3, "3.1", "tabDnc/Réception", "Début de réception (BOR) :", W::Line, L::None, C::Text, S::Telvar, "OPTION_R", "BOR"},
        {"TxtDnc", 4, "3.1", "tabDnc/Réception", "Fin de réception (EOR) :", W::Line, L::None, C::Text, S::Telvar, "OPTION_R", "EOR"},
        {"TxtDnc", 44, "3.1", "tabDnc/Réception", "Filtre des lignes reçues :", W::Line, L::None, C::Text, S::Telvar, "OPTION_R", "FiltreLigneRecep"},
        // ------------------------------------------------------------ 3.2 RS 232
        {"cboDnc", 20, "3.2", "Port série", "Port COM :", W::EditCombo, L::ComPorts, C::Text, S::Telvar, "COMM", "NumPort"},
        {"cboDnc", 24, "3.2", "Port série", "Vitesse de réception :", W::EditCombo, L::SerialSpeeds, C::Text, S::Telvar, "COMM", "Bauds"},
        {"cboDnc", 89, "3.2", "Port série", "Vitesse d'envoi :", W::EditCombo, L::SerialSpeeds, C::Text, S::Telvar, "COMM", "BaudsEnvoi"},
        {"cboDnc", 21, "3.2", "Port série", "Bits de données :", W::EditCombo, L::DataBits, C::Text, S::Telvar, "COMM", "DataBit"},
        {"cboDnc", 22, "3.2", "Port série", "Bits de stop :", W::Combo, L::StopBits, C::Text, S::Telvar, "COMM", "StopBit"},
        {"cboDnc", 23, "3.2", "Port série", "Parité :", W::Combo, L::Parities, C::Parity, S::Telvar, "COMM", "Parite", -1, OPT},
        {"cboDnc", 26, "3.2", "Port série", "Contrôle de flux :", W::Combo, L::FlowControls, C::FlowControl, S::Telvar, "COMM", "CtrlFlux"},
        {"TxtDnc", 25, "3.2", "Transmission", "Fin de bloc (EOB) :", W::Line, L::None, C::Text, S::Telvar, "COMM", "EOB"},
        {"TxtDnc", 29, "3.2", "Transmission", "Time-out de réception :", W::Line, L::None, C::Text, S::Telvar, "COMM", "TimeOut"},
        {"TxtDnc", 30, "3.2", "Transmission", "Time-out d'envoi :", W::Line, L::None, C::Text, S::Telvar, "COMM", "TimeOutEnvoi"},
        {"cboDnc", 92, "3.2", "Transmission", "Time-out d'écoute (s) :", W::EditCombo, L::Steps10To240, C::Text, S::Telvar, "COMM", "TimeOutEcoute"},
        {"cboDnc", 70, "3.2", "Transmission", "Tampon de réception :", W::EditCombo, L::BlockSizes, C::Text, S::Telvar, "COMM", "InBufferSize"},
        {"cboDnc", 71, "3.2", "Transmission", "Tampon d'envoi :", W::EditCombo, L::BlockSizes, C::Text, S::Telvar, "COMM", "OutBufferSize"},
        {"TxtDnc", 69, "3.2", "Transmission", "Mode IRQ :", W::Line, L::None, C::Text, S::Telvar, "COMM", "ModeIRQ"},
        {"chkDnc", 11, "3.2", "Transmission", "Mode passant", W::Check, L::None, C::Text, S::Telvar, "COMM", "IsModePassant"},
        {"cboDnc", 31, "3.2", "Début de transfert", "Condition de début :", W::Combo, L::StartConditions, C::StartCondition, S::Telvar, "OPTION_DNC", "CheckModeRecep"},
        {"TxtDnc", 37, "3.2", "Début de transfert", "Caractère :", W::Line, L::None, C::Text, S::WindowOnly, "OPTION_DNC", "CheckModeRecep", -1, OPT},
        {"TxtDnc", 65, "3.2", "Début de transfert", "Attente :", W::Line, L::None, C::Text, S::WindowOnly, "OPTION_DNC", "CheckModeRecep", -1, OPT},
        // ------------------------------------------------------------ 3.3 Réseau
        {"cboDnc", 36, "3.3", "Transfert réseau", "Service Internet :", W::Combo, L::InternetServices, C::Index, S::Telvar, "RESEAU", "RemoteMethode", -1, OPT},
        {"optDnc", 85, "3.3", "Transfert réseau", "Rôle de connexion :", W::Options, L::ConnectionRoles, C::Index, S::Telvar, "RESEAU", "TalmConnexionRole"},
        {"TxtDnc", 38, "3.3", "Transfert réseau", "Hôte distant :", W::Line, L::None, C::Text, S::Telvar, "RESEAU", "RemoteHost"},
        {"cboDnc", 39, "3.3", "Transfert réseau", "Port distant :", W::EditCombo, L::InternetServices, C::ServicePort, S::Telvar, "RESEAU", "RemotePort", -1, OPT},
        {"TxtDnc", 14, "3.3", "Transfert réseau", "Utilisateur :", W::Line, L::None, C::Text, S::Telvar, "RESEAU", "UserName"},
        {"TxtDnc", 15, "3.3", "Transfert réseau", "Mot de passe :", W::Password, L::None, C::Text, S::Telvar, "RESEAU", "UserPassword"},
        {"TxtDnc", 40, "3.3", "Transfert réseau", "Dossier d'envoi sur l'hôte :", W::Line, L::None, C::Text, S::Telvar, "RESEAU", "DefaultDirHostSend"},
        {"TxtDnc", 41, "3.3", "Transfert réseau", "Dossier de réception sur l'hôte :", W::Line, L::None, C::Text, S::Telvar, "RESEAU", "DefaultDirHostReceiv"},
        {"TxtDnc", 18, "3.3", "Transfert réseau", "Nom de fichier par défaut :", W::Line, L::None, C::Text, S::Telvar, "RESEAU", "DefautFileName"},
        {"chkDnc", 22, "3.3", "Transfert réseau", "Le numéro de programme est le nom du fichier", W::Check, L::None, C::Text, S::Telvar, "RESEAU", "NumProgAsFileName"},
        {"chkDnc", 23, "3.3", "Transfert réseau", "Transfert simple", W::Check, L::None, C::Text, S::Telvar, "RESEAU", "TransfertBasic"},
        {"chkDnc", 24, "3.3", "Transfert réseau", "Supprimer le fichier distant après transfert", W::Check, L::None, C::Text, S::Telvar, "RESEAU", "DeleteFileReseau"},
        {"chkDnc", 25, "3.3", "Transfert réseau", "Grouper les programmes dans des dossiers", W::Check, L::None, C::Text, S::Telvar, "RESEAU", "GroupeInFolder"},
        // ------------------------------------------------------------ 3.4 Tempo
        {"TxtDnc", 35, "3.4", "Temporisations", "Temporisation entre blocs :", W::Line, L::None, C::Text, S::Telvar, "TEMPO", "TempoBloc"},
        {"TxtDnc", 6, "3.4", "Temporisations", "Temporisation entre caractères :", W::Line, L::None, C::Text, S::Telvar, "TEMPO", "TempoCar"},
        {"TxtDnc", 5, "3.4", "Temporisations", "Temporisation avant envoi :", W::Line, L::None, C::Text, S::Telvar, "OPTION_T", "TempoBeforeSend"},
        {"cboDnc", 93, "3.4", "Temporisations", "Time-out du mode réception (s) :", W::EditCombo, L::Steps10To240, C::Text, S::Telvar, "TEMPO", "TimeOutModeRecep"},
        // ------------------------------------------------------------ 3.5 Appel déporté
        {"TxtDnc", 63, "3.5", "Appel de programme", "Syntaxe d'appel :", W::Line, L::None, C::Text, S::Telvar, "DNC", "CallSyntax"},
        {"TxtDnc", 10, "3.5", "Appel de programme", "Séparateur d'appel :", W::Line, L::None, C::Text, S::Telvar, "OPTION_DNC", "CarSepAppel"},
        {"chkDnc", 20, "3.5", "Appel de programme", "Appel défini par un bloc de début et de fin", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "DefBlocDepFinAppel"},
        {"TxtDnc", 11, "3.5", "Appel de programme", "Marqueur de début d'appel :", W::Line, L::None, C::Text, S::Telvar, "OPTION_DNC", "MarqueurDebAppel"},
        {"TxtDnc", 12, "3.5", "Appel de programme", "Marqueur de fin d'appel :", W::Line, L::None, C::Text, S::Telvar, "OPTION_DNC", "MarqueurFinAppel"},
        {"chkDnc", 21, "3.5", "Appel de programme", "Concaténer les programmes appelés", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "ConcatProgAppel"},
        {"chkDnc", 16, "3.5", "Appel de programme", "Plusieurs programmes par appel", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "IsMultiAppel"},
        {"TxtDnc", 8, "3.5", "Appel de programme", "Séparateur d'appel multiple :", W::Line, L::None, C::Text, S::Telvar, "OPTION_DNC", "SepCarMultiAppel"},
        {"chkDnc", 17, "3.5", "Appel de programme", "Vérifier les réceptions avant l'appel", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "CheckReceivBeforeAppel"},
        {"TxtDnc", 9, "3.5", "Appel de programme", "Nombre de réceptions avant l'appel :", W::Line, L::None, C::Text, S::Telvar, "OPTION_DNC", "NbReceivBeforeAppel", -1, OPT},
        {"chkDnc", 18, "3.5", "Appel de programme", "Rechercher dans toute la base de données", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "CheckAllDataBase"},
        {"chkDnc", 19, "3.5", "Appel de programme", "Remonter dans la base de données", W::Check, L::None, C::Text, S::Telvar, "OPTION_DNC", "RemonteBD"},
        {"cboDnc", 230, "3.5", "Port série d'appel", "Méthode d'appel :", W::Combo, L::TransferMethods, C::Index, S::Telvar, "CALL_COMM", "CallMethode", -1, OPT},
        {"cboDnc", 220, "3.5", "Port série d'appel", "Port COM :", W::EditCombo, L::ComPorts, C::Text, S::Telvar, "CALL_COMM", "NumPort", -1, OPT},
        {"cboDnc", 224, "3.5", "Port série d'appel", "Vitesse :", W::EditCombo, L::SerialSpeeds, C::Text, S::Telvar, "CALL_COMM", "Bauds"},
        {"cboDnc", 221, "3.5", "Port série d'appel", "Bits de données :", W::EditCombo, L::DataBits, C::Text, S::Telvar, "CALL_COMM", "DataBit"},
        {"cboDnc", 222, "3.5", "Port série d'appel", "Bits de stop :", W::Combo, L::StopBits, C::Text, S::Telvar, "CALL_COMM", "StopBit"},
        {"cboDnc", 223, "3.5", "Port série d'appel", "Parité :", W::Combo, L::Parities, C::Parity, S::Telvar, "CALL_COMM", "Parite", -1, OPT},
        {"cboDnc", 226, "3.5", "Port série d'appel", "Contrôle de flux :", W::Combo, L::FlowControls, C::FlowControl, S::Telvar, "CALL_COMM", "CtrlFlux", -1, OPT},
        // ------------------------------------------------------------ 4 Editeur
        {"TxtTelvar", 155, "4", "Insertions des touches de fonction", "Touche F5 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF5", -1, H2},
        {"TxtTelvar", 156, "4", "Insertions des touches de fonction", "Touche F6 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF6", -1, H2},
        {"TxtTelvar", 157, "4", "Insertions des touches de fonction", "Touche F7 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF7", -1, H2},
        {"TxtTelvar", 158, "4", "Insertions des touches de fonction", "Touche F8 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF8", -1, H2},
        {"TxtTelvar", 159, "4", "Insertions des touches de fonction", "Touche F9 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF9", -1, H2},
        {"TxtTelvar", 160, "4", "Insertions des touches de fonction", "Touche F10 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF10", -1, H2},
        {"TxtTelvar", 161, "4", "Insertions des touches de fonction", "Touche F11 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF11", -1, H2},
        {"TxtTelvar", 162, "4", "Insertions des touches de fonction", "Touche F12 :", W::Line, L::None, C::Text, S::Caller, nullptr, "InsKeyF12", -1, H2},
        {"TxtTelvar", 4, "4", "Coefficients des axes", "Coefficients XYZ :", W::Line, L::None, C::Text, S::Caller, nullptr, "CoefXYZ", -1, H2},
        // ------------------------------------------------------------ 4.1 Iso Formes
        {"TxtTelvar", 2, "4.1", "Fichier des insertions ISO", "Fichier de configuration ISO :", W::Line, L::None, C::Text, S::Telvar, "DNC", "PathIsoIni"},
        // ------------------------------------------------------------ 7 Chainage
        {"TxtChain", -1, "7", "Chaînage", "Programme chaîné :", W::Line, L::None, C::Text, S::Both, "CHAINAGE", "ChainExe"},
    };
    return rows;
}
// clang-format on

// The fields of the caller's entry that are not keys of Telvar.ini.
struct CallerField {
    const char* Key;
    std::string MachineConfig::*Text;    // string fields
    std::int32_t MachineConfig::*Number; // numeric fields
    int InsKey;                          // 5..12 for InsKeyF5..InsKeyF12, 0 otherwise
};

constexpr std::array<CallerField, 15> kCallerFields{{
    {"Name", &MachineConfig::Name, nullptr, 0},
    {"DirTreeView", &MachineConfig::DirTreeView, nullptr, 0},
    {"PathTelvar", &MachineConfig::PathTelvar, nullptr, 0},
    {"PathFileHead", &MachineConfig::PathFileHead, nullptr, 0},
    {"PathFileFeet", &MachineConfig::PathFileFeet, nullptr, 0},
    {"CurrentPathDirLog", &MachineConfig::CurrentPathDirLog, nullptr, 0},
    {"OpenInBD", nullptr, &MachineConfig::OpenInBD, 0},
    {"InsKeyF5", nullptr, nullptr, 5},
    {"InsKeyF6", nullptr, nullptr, 6},
    {"InsKeyF7", nullptr, nullptr, 7},
    {"InsKeyF8", nullptr, nullptr, 8},
    {"InsKeyF9", nullptr, nullptr, 9},
    {"InsKeyF10", nullptr, nullptr, 10},
    {"InsKeyF11", nullptr, nullptr, 11},
    {"InsKeyF12", nullptr, nullptr, 12},
}};

const CallerField* FindCallerField(std::string_view key) {
    for (const auto& f : kCallerFields) {
        if (key == f.Key) return &f;
    }
    return nullptr;
}

// CoefXYZ is a string of the entry too; kept apart so that the array above stays one shape.
constexpr std::string_view kCoefXYZ = "CoefXYZ";

std::string* CallerString(MachineConfig& machine, std::string_view key) {
    if (key == kCoefXYZ) return &machine.CoefXYZ;
    const CallerField* f = FindCallerField(key);
    if (f == nullptr) return nullptr;
    if (f->Text != nullptr) return &(machine.*(f->Text));
    if (f->InsKey != 0) return &machine.InsKeyF[f->InsKey - 5];
    return nullptr;
}

// The caller's keys of the DNC transfer program's file (section "CNC", numbered keys).
std::string Mode2CallerKey(std::string_view key) {
    if (key == "Name") return "RefMO";
    if (key == "PathTelvar" || key == "PathFileProgOpen" || key == "PathFileProgSave" ||
        key == "PathArchive") {
        return std::string(key);
    }
    return {};
}

std::string FileNameOf(const std::string& path, const char* fallback) {
    const auto cut = path.find_last_of("\\/");
    std::string name = cut == std::string::npos ? path : path.substr(cut + 1);
    return name.empty() ? std::string(fallback) : name;
}

// clang-format off
constexpr std::array<TreeNodeDef, 19> kNodes{{
    {"Général", nullptr, "1"},
    {"Gestion", "Général", "1.1"},
    {"Dossiers", "Général", "1.2"},
    {"Programmation", nullptr, "2"},
    {"Syntaxe", "Programmation", "2.1"},
    {"Cartouche", "Programmation", "2.2"},
    {"Iso", "Programmation", "2.3"},
    {"Canaux", "Programmation", "2.4"},
    {"DNC", nullptr, "3"},
    {"Filtres", "DNC", "3.1"},
    {"RS 232", "DNC", "3.2"},
    {"Réseau", "DNC", "3.3"},
    {"Tempo", "DNC", "3.4"},
    {"Appel déporté", "DNC", "3.5"},
    {"Editeur", nullptr, "4"},
    {"Iso Formes", "Editeur", "4.1"},
    {"Service", nullptr, "5"},
    {"PDC", nullptr, "6"},
    {"Chainage", nullptr, "7"},
}};
// clang-format on

} // namespace

std::span<const FieldDef> FieldTable() {
    return Rows();
}

std::span<const TreeNodeDef> TreeNodes() {
    return kNodes;
}

std::string PanelTitle(std::string_view panel) {
    for (const auto& node : kNodes) {
        if (panel == node.Panel) return node.Text;
    }
    return {};
}

const FieldDef* FindField(std::string_view array, int member) {
    for (const auto& row : Rows()) {
        if (array == row.Array && member == row.Member) return &row;
    }
    return nullptr;
}

const FieldDef* FindFieldForKey(std::string_view section, std::string_view key) {
    if (!section.empty()) {
        // The field of each key of Telvar.ini, found once.
        static const std::unordered_map<const KeyDef*, const FieldDef*> fields = [] {
            std::unordered_map<const KeyDef*, const FieldDef*> byKey;
            for (const auto& row : Rows()) {
                if (row.Store == FieldStore::WindowOnly) continue;
                if (const KeyDef* k = FieldKey(row)) byKey.try_emplace(k, &row);
            }
            return byKey;
        }();
        const KeyDef* k = FindKey(section, key);
        const auto found = k != nullptr ? fields.find(k) : fields.end();
        return found == fields.end() ? nullptr : found->second;
    }
    for (const auto& row : Rows()) {
        if (row.Store != FieldStore::WindowOnly && key == row.Key) return &row;
    }
    return nullptr;
}

std::string ControlName(std::string_view array, int member) {
    std::string name(array);
    if (member >= 0) name += "_" + std::to_string(member);
    return name;
}

std::string FieldObjectName(const FieldDef& def) {
    return ControlName(def.Array, def.Member);
}

const KeyDef* FieldKey(const FieldDef& def) {
    if (def.Store != FieldStore::Telvar && def.Store != FieldStore::Both) return nullptr;
    return FindKey(def.Section, def.Key);
}

bool FieldMayStayEmpty(const FieldDef& def) {
    if ((def.Flags & FlagOptional) != 0) return true;
    if (const KeyDef* key = FieldKey(def)) return key->Kind == KeyKind::String && def.Conv == FieldConv::Text;
    if (def.Store == FieldStore::Caller) return !CallerFieldIsNumber(def.Key);
    return false;
}

StartCompanions StartConditionCompanions(const FieldDef& def) {
    // The start condition of the first serial panel: its character and its waiting time.
    if (std::string_view(def.Array) == "cboDnc" && def.Member == 31) return {"TxtDnc", 37, 65};
    return {nullptr, -1, -1};
}

std::string FieldTooltip(const FieldDef& def, const ProgramSettings& settings) {
    const std::string telvar = "Telvar.ini [" + std::string(def.Section ? def.Section : "") + "] " + def.Key;
    const bool dncProgram = settings.Mode == 2;
    const std::string callerFile =
        FileNameOf(settings.PathAppCallingIni, dncProgram ? "Harbix.ini" : "Kalderon.ini");
    const std::string number = settings.AppCalling == 2 && settings.CurrentIndexMO > 0
                                   ? std::to_string(settings.CurrentIndexMO)
                                   : std::string("n");
    auto callerPlace = [&](std::string_view key) -> std::string {
        if (key == "ChainExe") return callerFile + " [CHAINAGE] ChainExe";
        if (!dncProgram) return callerFile + " [CNC" + number + "] " + std::string(key);
        const std::string k = Mode2CallerKey(key);
        return k.empty() ? std::string() : callerFile + " [CNC] " + k + number;
    };
    switch (def.Store) {
    case FieldStore::Telvar:
        return telvar;
    case FieldStore::Both: {
        const std::string caller = callerPlace(def.Key);
        return caller.empty() ? telvar : telvar + "\n" + caller;
    }
    case FieldStore::Caller:
        return callerPlace(def.Key);
    case FieldStore::Registry:
        return std::string("HKEY_LOCAL_MACHINE\\SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN <RefMO>");
    case FieldStore::WindowOnly:
        return telvar;
    }
    return {};
}

std::string FieldStoredText(const FieldDef& def, const MachineConfig& machine, const RemonteState& remonte) {
    switch (def.Store) {
    case FieldStore::Telvar:
    case FieldStore::Both: {
        const KeyDef* key = FieldKey(def);
        if (key == nullptr) return {};
        // Read from the member itself: the file's own forms (FileExt with its dot) are the writer's.
        if (const auto* s = KeyField<std::string>(machine, remonte, *key)) return *s;
        if (const auto* b = KeyField<bool>(machine, remonte, *key)) return *b ? "1" : "0";
        if (const auto* i = KeyField<std::int16_t>(machine, remonte, *key)) return std::to_string(*i);
        if (const auto* i = KeyField<std::int32_t>(machine, remonte, *key)) return std::to_string(*i);
        if (const auto* d = KeyField<double>(machine, remonte, *key)) {
            char buffer[64];
            const auto result = std::to_chars(buffer, buffer + sizeof buffer, *d);
            return std::string(buffer, result.ptr);
        }
        return {};
    }
    case FieldStore::Caller: {
        std::string text;
        GetCallerText(machine, def.Key, text);
        return text;
    }
    case FieldStore::Registry:
        return machine.StartWithWindows ? "1" : "0";
    case FieldStore::WindowOnly:
        return {};
    }
    return {};
}

bool SetFieldStoredText(const FieldDef& def, MachineConfig& machine, RemonteState& remonte,
                        const std::string& text) {
    switch (def.Store) {
    case FieldStore::Telvar:
    case FieldStore::Both: {
        const KeyDef* key = FieldKey(def);
        if (key == nullptr) return false;
        if (auto* d = KeyField<double>(machine, remonte, *key)) {
            // The shortest form shown goes back exactly; anything else by the reading rule.
            const std::string t = Trim(text);
            double value = 0;
            const auto result = std::from_chars(t.data(), t.data() + t.size(), value);
            if (result.ec == std::errc() && result.ptr == t.data() + t.size() && !t.empty()) {
                *d = value;
                return true;
            }
        }
        return SetKeyText(machine, remonte, *key, text);
    }
    case FieldStore::Caller:
        return SetCallerText(machine, def.Key, text);
    case FieldStore::Registry:
        machine.StartWithWindows = Trim(text) == "1";
        return true;
    case FieldStore::WindowOnly:
        return false;
    }
    return false;
}

bool GetCallerText(const MachineConfig& machine, std::string_view key, std::string& text) {
    auto& m = const_cast<MachineConfig&>(machine);
    if (const std::string* s = CallerString(m, key)) {
        text = *s;
        return true;
    }
    const CallerField* f = FindCallerField(key);
    if (f == nullptr || f->Number == nullptr) return false;
    text = std::to_string(machine.*(f->Number));
    return true;
}

bool SetCallerText(MachineConfig& machine, std::string_view key, const std::string& text) {
    if (std::string* s = CallerString(machine, key)) {
        *s = text;
        return true;
    }
    const CallerField* f = FindCallerField(key);
    if (f == nullptr || f->Number == nullptr) return false;
    const auto value = ParseInt32(Trim(text));
    if (!value) return false;
    machine.*(f->Number) = *value;
    return true;
}

bool CallerFieldIsNumber(std::string_view key) {
    const CallerField* f = FindCallerField(key);
    return f != nullptr && f->Number != nullptr;
}

} // namespace kirva
