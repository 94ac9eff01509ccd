// kirva-cli: the workshop's command line. Lists, checks, compares and exports the machines of a
// calling program's settings file; it never writes into the workshop.
//   exit 0: done, nothing to report; 1: problems or differences found, or a machine not exported;
//   2: bad usage, or a workshop that cannot be opened.
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "app/ProgramSettings.h"
#include "cli/Commands.h"
#include "platform/platform.h"

namespace {

using kirva::cli::Invocation;

constexpr const char* kUsage = R"(kirva-cli : les machines d'un atelier, en ligne de commande.

Usage : kirva-cli <commande> [options] <arguments>

Commandes :
  list <atelier>                   les machines de l'atelier
  check <atelier | fichier>...     les problèmes des fichiers des machines
  diff <machine A> <machine B>     les différences entre deux machines, champ par champ
  export <atelier> <dossier>       chaque machine en <RefMO>.ini, et un index

Un atelier est un Kalderon.ini ou un Harbix.ini, le dossier qui le contient, ou un dossier
dont le dossier Kalderon ou Harbix le contient, ou dont le Kirva.ini (dans le dossier ou
dans son dossier exe) le nomme.

Options :
  --json               sortie JSON, pour les programmes
  --color=QUAND        couleurs : auto (sur un terminal, sans NO_COLOR), always, never
  -h, --help           cette aide ; kirva-cli <commande> --help : l'aide de la commande
  --version            la version

Codes de sortie : 0 rien à signaler, 1 problèmes ou différences trouvés, 2 usage incorrect
ou atelier illisible. Rien n'est jamais écrit dans l'atelier.
)";

const std::map<std::string, const char*> kCommandHelp = {
    {"list", R"(Usage : kirva-cli list <atelier> [--json]

Les machines du fichier du programme appelant : numéro, référence, méthode de transfert,
dossier Port DNC, port TCP d'écoute, port COM, et si le fichier Telvar.ini existe.
)"},
    {"check", R"(Usage : kirva-cli check <atelier | fichier machine>... [--json]

Lit chaque machine comme l'éditeur la lit et signale, une ligne par problème
(fichier:ligne: [section] clé: texte) : fichiers absents ou illisibles ; valeurs que l'éditeur
refuserait ou ne saurait lire (hors limites, pas un nombre, hors de la liste du champ) ; clés et
sections inconnues, avec la plus proche connue ; clés et sections en double ; listes (canaux,
plans, insertions, activités) qui ne correspondent pas à leur nombre ; deux machines sur le même
port TCP ou COM ; une référence contenue dans une autre ; un port COM absent de ce poste.
Code de sortie 0 sans problème, 1 avec. Ne corrige rien et n'écrit rien.
)"},
    {"diff", R"(Usage : kirva-cli diff <machine A> <machine B> [--workshop <atelier>] [--json]

Une machine est un fichier Telvar.ini (ou une copie exportée), un dossier qui en contient un,
ou la référence d'une machine de l'atelier donné par --workshop. Seules les différences sont
affichées, avec le libellé du champ, son panneau, sa section et sa clé ; les insertions, plans,
canaux et activités sont comparés par nom. Code de sortie 0 sans différence, 1 avec.
)"},
    {"export", R"(Usage : kirva-cli export <atelier> <dossier> [--json]

Copie le Telvar.ini de chaque machine dans le dossier sous le nom <RefMO>.ini (la copie de
l'export de l'éditeur, privée à son propriétaire : le fichier contient le mot de passe FTP) et
écrit l'index Index.ini. Une machine illisible est signalée et les autres sont exportées.
Le dossier est créé s'il manque ; un dossier de l'atelier est refusé.
)"},
};

int Usage(const std::string& problem) {
    std::cerr << "kirva-cli : " << problem << "\nAide : kirva-cli --help\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments = kirva::platform::ProgramArguments(argc, argv);
    Invocation call;
    std::string colour = "auto";
    bool help = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        if (a == "--json") {
            call.Json = true;
        } else if (a == "-h" || a == "--help") {
            help = true;
        } else if (a == "--version") {
            std::cout << "kirva-cli " << kirva::VersionText() << '\n';
            return 0;
        } else if (a.rfind("--color=", 0) == 0) {
            colour = a.substr(8);
        } else if (a == "--workshop" || a.rfind("--workshop=", 0) == 0) {
            if (a == "--workshop" && i + 1 >= arguments.size()) return Usage("--workshop attend un atelier.");
            call.Workshop = a == "--workshop" ? arguments[++i] : a.substr(11);
        } else if (a.size() > 1 && a[0] == '-' && a != "--") {
            return Usage("option inconnue " + a + ".");
        } else if (call.Command.empty()) {
            call.Command = a;
        } else {
            call.Arguments.push_back(a);
        }
    }
    if (colour != "auto" && colour != "always" && colour != "never")
        return Usage("--color attend auto, always ou never.");
    const bool terminal = kirva::platform::PrepareConsoleOutput();
    const char* noColour = std::getenv("NO_COLOR");
    call.Style.On = colour == "always" || (colour == "auto" && terminal &&
                                           (noColour == nullptr || *noColour == '\0') && !call.Json);
    if (call.Command.empty()) {
        std::cout << kUsage;
        return help ? 0 : 2;
    }
    const auto commandHelp = kCommandHelp.find(call.Command);
    if (commandHelp == kCommandHelp.end()) return Usage("commande inconnue " + call.Command + ".");
    if (help) {
        std::cout << commandHelp->second;
        return 0;
    }
    std::string problem;
    const int code = kirva::cli::Run(call, std::cout, std::cerr, problem);
    if (code == kirva::cli::kNotOpened) {
        std::cerr << "kirva-cli : " << problem << '\n';
        return 2;
    }
    if (code == 2 && !problem.empty()) return Usage(problem);
    return code;
}
