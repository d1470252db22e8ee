#include "critics/text/borrowed_phrases.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace trevix {

namespace {

/// Without the marks of letters; "-" is a blank.
constexpr std::string_view kPhrases =
    "a capella; a cappella; a deux; a l'outrance; a la carte; a la mode; a posteriori; a "
    "priori; ab initio; ad absurdum; ad astra; ad fontes; ad hominem; ad infinitum; ad interim; "
    "ad lib; ad libitum; ad litem; ad nauseam; ad valorem; agent provocateur; agents "
    "provocateurs; agua fresca; aguas frescas; aide memoire; aide memoires; al dente; al forno; "
    "al fresco; alla breve; alla prima; alma mater; alma maters; alma matres; alter ego; alter "
    "egos; amicus curiae; amour propre; ancien regime; anno domini; annus horribilis; annus "
    "mirabilis; ante bellum; ante meridiem; apres midi; apres ski; aqua regia; aqua vitae; "
    "arroz con pollo; art deco; art nouveau; arte povera; au contraire; au courant; au fait; au "
    "gratin; au jus; au lait; au naturel; au pair; au pairs; au revoir; auf wiedersehen; aurora "
    "australis; aurora borealis; avant garde; avant la lettre; bain marie; basso continuo; "
    "basso ostinato; basso profundo; beau geste; beau ideal; beau monde; beaux arts; bel canto; "
    "bella figura; belle epoque; belles lettres; ben trovato; bete noire; betes noires; billet "
    "doux; billets doux; bon appetit; bon chic bon genre; bon mot; bon mots; bon vivant; bon "
    "vivants; bon viveur; bon voyage; bona fide; bona fides; bona vacantia; bonne bouche; bonne "
    "chance; bons mots; bons vivants; bossa nova; bric a brac; buenas noches; buenas tardes; "
    "buenos dias; c'est la guerre; c'est la vie; carne asada; carpe diem; carte blanche; casus "
    "belli; cause celebre; causes celebres; caveat emptor; ceteris paribus; chacun a son gout; "
    "chaise longue; chaises longues; charge d'affaires; charges d'affaires; che sara sara; chef "
    "d'oeuvre; chefs d'oeuvre; cherchez la femme; chile con carne; chile relleno; chiles "
    "rellenos; chili con carne; cinco de mayo; cinema verite; cogito ergo sum; comme ci comme "
    "ca; comme il faut; commedia dell'arte; compos mentis; con brio; con fuoco; con moto; con "
    "spirito; cordon bleu; cordon sanitaire; corps de ballet; corps diplomatique; corpus "
    "delicti; corpus juris; cosa nostra; coup d'etat; coup d'oeil; coup de coeur; coup de "
    "foudre; coup de grace; coup de main; coup de maitre; coup de theatre; coups d'etat; creme "
    "anglaise; creme brulee; creme brulees; creme caramel; creme de cassis; creme de la creme; "
    "creme de menthe; creme fraiche; crepe suzette; crepes suzette; cri de coeur; crime "
    "passionnel; cuba libre; cui bono; cul de sac; cul de sacs; culs de sac; cum grano salis; "
    "cum laude; curricula vitae; curriculum vitae; da capo; dal segno; danse macabre; de facto; "
    "de jure; de minimis; de novo; de profundis; de rigueur; de trop; dei gratia; deja lu; deja "
    "vu; demi monde; demi sec; deo volente; dernier cri; deus ex machina; dia de los muertos; "
    "dies irae; ding an sich; dolce far niente; dolce vita; double entendre; double entendres; "
    "dramatis personae; drang nach osten; droit de seigneur; droit du seigneur; dulce de leche; "
    "e pluribus unum; eau de cologne; eau de nil; eau de parfum; eau de toilette; eau de vie; "
    "ecce homo; embarras de richesses; embarras du choix; eminence grise; eminences grises; en "
    "bloc; en brochette; en famille; en fete; en garde; en masse; en passant; en plein air; en "
    "pointe; en prise; en route; en suite; en travesti; enfant terrible; enfants terribles; "
    "entente cordiale; entre nous; esprit de corps; et al; et alia; et alii; et cetera; et seq; "
    "et tu; ex ante; ex cathedra; ex gratia; ex libris; ex nihilo; ex officio; ex parte; ex "
    "post; ex post facto; ex situ; ex vivo; fait accompli; faits accomplis; faux ami; faux "
    "amis; faux naif; faux pas; femme fatale; femmes fatales; feu de joie; fiat lux; film noir; "
    "films noirs; fin de siecle; fines herbes; flagrante delicto; fleur de lis; fleur de lys; "
    "fleur de sel; foie gras; folie a deux; folie de grandeur; folies de grandeur; force de "
    "frappe; force majeure; fritto misto; garde manger; genius loci; gilet jaune; gilets "
    "jaunes; gran turismo; grand cru; grand guignol; grand mal; grand prix; grande dame; grande "
    "ecole; grandes dames; grandes ecoles; grands crus; grands prix; gros point; gute nacht; "
    "guten abend; guten morgen; guten tag; habeas corpus; hasta la vista; hasta luego; haut "
    "monde; haute bourgeoisie; haute couture; haute cuisine; homme d'affaires; homo erectus; "
    "homo ludens; homo sapiens; honi soit qui mal y pense; honoris causa; horror vacui; hors "
    "concours; hors d'oeuvre; hors d'oeuvres; hors de combat; hotel de ville; huevos rancheros; "
    "idee fixe; idee recue; idees fixes; idees recues; in absentia; in camera; in extenso; in "
    "extremis; in flagrante; in flagrante delicto; in loco parentis; in medias res; in "
    "memoriam; in perpetuum; in petto; in propria persona; in rem; in silico; in situ; in toto; "
    "in utero; in vacuo; in vino veritas; in vitro; in vivo; infra dig; inter alia; inter "
    "alios; inter vivos; intra vires; ipse dixit; ipsissima verba; ipso facto; ipso jure; je ne "
    "sais quoi; jeu d'esprit; jeunesse doree; jeux d'esprit; joie de vivre; l'art pour l'art; "
    "l'esprit de l'escalier; laissez faire; laissez passer; lapsus linguae; lese majeste; lex "
    "talionis; lingua franca; lingua francas; linguae francae; locus classicus; locus standi; "
    "magna cum laude; magnum opus; maitre d'hotel; maitres d'hotel; mal de mer; mal du siecle; "
    "mala fide; mala fides; mano a mano; mardi gras; mare nostrum; mauvaise foi; mea culpa; "
    "memento mori; menage a trois; mens rea; mens sana; mezza voce; mezzo forte; mezzo piano; "
    "mezzo soprano; mi casa es su casa; mille feuille; mirabile dictu; mise en abyme; mise en "
    "place; mise en scene; modus operandi; modus vivendi; molto allegro; mot juste; mots "
    "justes; moules frites; muchas gracias; mutatis mutandis; ne plus ultra; nihil obstat; nil "
    "desperandum; noblesse oblige; nolle prosequi; nolo contendere; nom de guerre; nom de "
    "plume; noms de guerre; noms de plume; non compos mentis; non sequitur; non sequiturs; "
    "nostalgie de la boue; nota bene; nouveau riche; nouveau roman; nouveaux riches; nouvelle "
    "cuisine; nouvelle vague; obiter dicta; obiter dictum; objet d'art; objet trouve; objets "
    "d'art; objets trouves; onus probandi; opera buffa; opera seria; pain au chocolat; pains au "
    "chocolat; panna cotta; papier mache; par avion; par excellence; pari passu; pas de chat; "
    "pas de deux; passe partout; patatas bravas; pate de foie gras; pater familias; pater "
    "noster; pax americana; pax britannica; pax romana; per annum; per capita; per centum; per "
    "diem; per mensem; per procurationem; per se; persona grata; persona non grata; petit "
    "bourgeois; petit dejeuner; petit four; petit mal; petit point; petit pois; petite "
    "bourgeoisie; petits fours; petits pois; pico de gallo; piece de resistance; pieces de "
    "resistance; pied a terre; pieds a terre; pince nez; pis aller; plat du jour; plats du "
    "jour; plein air; plus ca change; poco a poco; point d'appui; por favor; porte cochere; "
    "porte monnaie; post hoc; post meridiem; post mortem; post partum; post scriptum; pot au "
    "feu; pot pourri; pour encourager les autres; premier cru; premiers crus; pret a manger; "
    "pret a porter; prima ballerina; prima donna; prima donnas; prima facie; primum mobile; "
    "primus inter pares; prix fixe; pro bono; pro bono publico; pro forma; pro hac vice; pro "
    "rata; pro re nata; pro tem; pro tempore; que sera sera; qui vive; quid pro quo; quid pro "
    "quos; quo vadis; quod erat demonstrandum; raison d'etat; raison d'etre; raisons d'etre; "
    "rara avis; reductio ad absurdum; res gestae; res ipsa loquitur; res judicata; res publica; "
    "rigor mortis; rite de passage; rites de passage; roman a clef; roman fleuve; romans a "
    "clef; ropa vieja; sacre bleu; salade nicoise; sanctum sanctorum; sang froid; sans culotte; "
    "sans culottes; sans serif; sans souci; sauve qui peut; savoir faire; savoir vivre; semper "
    "fi; semper fidelis; sine die; sine qua non; soi disant; sotto voce; soup du jour; soupe du "
    "jour; sous chef; sous chefs; sous vide; stare decisis; status quo; status quo ante; sturm "
    "und drang; sub judice; sub rosa; sub specie aeternitatis; subpoena duces tecum; succes "
    "d'estime; succes de scandale; succes fou; sui generis; sui juris; summa cum laude; summum "
    "bonum; table d'hote; tabula rasa; tant mieux; tant pis; tempus fugit; terra firma; terra "
    "incognita; terra nullius; terza rima; tete a tete; tete a tetes; tour d'horizon; tour de "
    "force; tours de force; tout a fait; tout court; tout de suite; tout ensemble; tout le "
    "monde; tranche de vie; tres leches; trompe l'oeil; tutti frutti; uber alles; ultima ratio; "
    "ultra vires; una corda; urbi et orbi; vade mecum; vade mecums; valet de chambre; vaya con "
    "dios; veni vidi vici; verbatim et literatim; via dolorosa; vice versa; vin de pays; vin "
    "ordinaire; vins de pays; viola da gamba; vis a vis; vitello tonnato; viva voce; vive la "
    "difference; vol au vent; vol au vents; volte face; vorsprung durch technik; vox pop; vox "
    "populi; wagon lit; wagons lits";

using Phrase = std::vector<std::string_view>;

std::vector<std::string_view> parted(std::string_view text, std::string_view by) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(by), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + by.size(), text.size()));
    }
    return parts;
}

/// By their first words, the longest first.
const std::unordered_map<std::string_view, std::vector<Phrase>>& phrases() {
    static const auto all = [] {
        std::unordered_map<std::string_view, std::vector<Phrase>> made;
        for (const std::string_view phrase : parted(kPhrases, "; ")) {
            Phrase words = parted(phrase, " ");
            made[words.front()].push_back(std::move(words));
        }
        for (auto& [first, some] : made)
            std::ranges::stable_sort(some, std::greater(), &Phrase::size);
        return made;
    }();
    return all;
}

/// Without the marks of the letters that the phrases have.
std::string plain(std::string_view word) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 15> kMarked = {
        {{"à", "a"},
         {"á", "a"},
         {"â", "a"},
         {"ä", "a"},
         {"ç", "c"},
         {"é", "e"},
         {"è", "e"},
         {"ê", "e"},
         {"í", "i"},
         {"î", "i"},
         {"ï", "i"},
         {"ô", "o"},
         {"û", "u"},
         {"ü", "u"},
         {"œ", "oe"}}};
    std::string out;
    while (!word.empty()) {
        const auto marked = std::ranges::find_if(
            kMarked, [&](const auto& each) { return word.starts_with(each.first); });
        if (marked == kMarked.end()) {
            out += word.front();
            word.remove_prefix(1);
        } else {
            out += marked->second;
            word.remove_prefix(marked->first.size());
        }
    }
    return out;
}

} // namespace

std::size_t borrowedPhrase(std::span<const std::string> words) {
    if (words.empty()) return 0;
    const auto some = phrases().find(plain(words.front()));
    if (some == phrases().end()) return 0;
    for (const Phrase& phrase : some->second) {
        if (phrase.size() <= words.size() &&
            std::equal(phrase.begin(), phrase.end(), words.begin(),
                       [](std::string_view one, const std::string& other) {
                           return one == plain(other);
                       })) {
            return phrase.size();
        }
    }
    return 0;
}

} // namespace trevix
