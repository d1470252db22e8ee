#include "critics/text/english_words.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <vector>

namespace trevix {

namespace {

// Regular verbs that are neither nouns nor adjectives.
constexpr std::string_view kPureVerbs =
    "abolish absorb accompany accomplish accumulate acknowledge activate adjust administer "
    "adore alter analyze anticipate apologise appoint ascend assert assess assign assist "
    "assure astonish attain banish betray bewilder calculate classify coincide collaborate "
    "compensate compose comprehend conceal conceive condemn confess confront congratulate "
    "conserve constitute construct consult contemplate contradict convey correspond "
    "cultivate deceive declare dedicate deduce demolish deprive descend designate despise "
    "deteriorate devote diagnose differ diminish disappoint discourage dismiss dissolve "
    "distinguish distribute disturb dominate donate embarrass emerge employ enforce enlarge "
    "enrich ensure entertain erase exaggerate exceed exclude exhaust expire facilitate "
    "formulate foster frighten hesitate illustrate impose impress incorporate infect inherit "
    "inhibit injure insist inspect instruct interfere interpret interrupt investigate "
    "irritate isolate justify locate magnify minimize navigate neglect negotiate nominate "
    "obtain occupy offend oppose persist persuade postpone precede prescribe preserve "
    "proclaim procrastinate prolong propose prosper provoke pursue reassure regulate "
    "rehearse reinforce rejoice reproduce resemble reside resist restore restrict retain "
    "retrieve reveal revise simplify stimulate strengthen summarize suppress surround "
    "sustain tempt testify tolerate transmit undermine unite vanish violate worsen "
    "accept achieve acquire adapt add admire admit adopt advertise afford agree allow announce "
    "annoy apologize appear apply appreciate argue arrange arrive assume attend attract avoid "
    "behave believe belong borrow bother carry celebrate choose collect commit communicate compare "
    "compete complain concentrate conclude confirm consider consist consume contain continue "
    "contribute convince create criticize cure decide decorate defend deliver demonstrate deny "
    "depend describe deserve destroy determine develop die disagree disappear disappoint discover "
    "discuss earn educate eliminate emphasize employ enable encourage enjoy ensure enter "
    "entertain establish evaluate exist expand expect explain explore express fulfill gain happen "
    "identify ignore imagine imply improve include indicate inform inspire intend introduce invent "
    "invest invite involve learn listen maintain manage mention motivate obey observe obtain occur "
    "operate organize participate perform persuade possess predict prefer prepare pretend prevent "
    "produce prohibit promote protect prove provide publish pursue realize receive recognize "
    "recommend recover reduce refer reflect reject relate relax relieve rely remain remember "
    "remind "
    "remove replace represent require resolve retire reveal satisfy save seem select separate "
    "solve "
    "specialize succeed suffer suggest suppose survive tend threaten tolerate train translate "
    "understand utilize want warn waste worry borrow enhance allow socialize memorize examine "
    "graduate immigrate emigrate donate recycle cooperate concern";
// Of those, words that are something else too after all.
constexpr std::string_view kNotPure =
    "train waste separate save concern gain graduate cure choose understand worry "
    "relate subject";
// Regular verbs that are nouns or adjectives too.
constexpr std::string_view kMixedVerbs =
    "act aim answer ask attack attempt balance base benefit blame call camp care cause challenge "
    "change charge check claim clean close comment connect control cook correct cost count cover "
    "crash cry "
    "damage dance delay demand design desire direct doubt dream dress end escape estimate exercise "
    "experience face fear fight fill finish fit fix focus follow force guess guide hate help hope "
    "hurry influence interest issue join judge jump kill lack last laugh lead lift like limit link "
    "live look love mark match matter mind miss move name need note notice offer open order own "
    "pack park pass plan plant play point practice present press promise pull push question rain "
    "raise reach record regret release rent repair reply report request rescue respect rest result "
    "return risk rule save search serve shape share shop shout show sign smell smile smoke sound "
    "start state stay step stop store stress study suit supply support surprise talk taste test "
    "thank touch tour trade train travel treat trust try turn use value view visit vote wait walk "
    "wash waste watch wish wonder work worry struggle spoil graduate";

// Base, past, participle. A "=" behind the base marks one that is a noun or adjective too.
constexpr std::string_view kIrregularVerbs =
    "arise arose arisen|become became become|begin began begun|bite= bit bitten|blow= blew blown|"
    "break= broke broken|bring brought brought|build built built|buy bought bought|"
    "catch= caught caught|choose chose chosen|come came come|deal= dealt dealt|"
    "do did done|draw= drew drawn|drink= drank drunk|drive= drove driven|eat ate eaten|"
    "fall= fell fallen|feed= fed fed|feel= felt felt|fight= fought fought|find= found found|"
    "fly= flew flown|forget forgot forgotten|forgive forgave forgiven|get got gotten|give gave "
    "given|"
    "go went gone|grow grew grown|hang hung hung|have had had|hear heard heard|hide= hid hidden|"
    "hold= held held|keep kept kept|know knew known|lead= led led|leave= left left|lend lent lent|"
    "lose lost lost|make made made|mean= meant meant|meet= met met|pay= paid paid|"
    "ride= rode ridden|ring= rang rung|rise= rose risen|run= ran run|say said said|see saw seen|"
    "seek sought sought|sell sold sold|send sent sent|shake= shook shaken|shine= shone shone|"
    "shoot= shot shot|sing sang sung|sink= sank sunk|sit sat sat|sleep= slept slept|"
    "speak spoke spoken|spend spent spent|stand= stood stood|steal= stole stolen|swear swore sworn|"
    "swim= swam swum|take took taken|teach taught taught|tear= tore torn|tell told told|"
    "think thought thought|throw= threw thrown|understand understood understood|wake= woke woken|"
    "wear= wore worn|win= won won|write wrote written|overcome overcame overcome|"
    "withdraw withdrew withdrawn|undergo underwent undergone|misunderstand misunderstood "
    "misunderstood|"
    "undertake undertook undertaken|bear= bore borne|freeze= froze frozen|spoil= spoilt spoilt";
// Pasts that are other words too.
constexpr std::string_view kAmbiguousPast =
    "found felt saw fell left lost thought meant bit ground bore rose shot met led fed hid lent "
    "stole spoke drew broke shook drunk wore got rang dealt spoilt forgot hung won held hung shone "
    "drove met built sunk sank";

// Countable in nearly every use: in the singular they want an article or the like.
constexpr std::string_view kThings =
    "adviser airline ambassador ambulance ancestor announcement appointment architect "
    "assignment athlete author backpack bakery balcony basket bathroom bedroom bicycle "
    "blanket boss boyfriend cafe calculator candidate candle carpet castle cathedral ceiling "
    "celebrity ceremony champion chapter classroom colleague cottage coupon cupboard curtain "
    "dancer deadline definition designer developer diagram document drawer editor election "
    "elephant envelope farmhouse festival folder fork formula garage girlfriend glove graph "
    "hammer helicopter helmet historian hypothesis illustration immigrant incident insect "
    "instruction instructor instrument invention inventor invitation invoice jacket "
    "journalist kingdom landlord laptop lecturer manufacturer mayor melody menu microphone "
    "migrant minister mirror monkey monument mosque motorbike nephew newcomer niece novel "
    "officer opponent orchestra owner package painter partner passport password pillow plate "
    "pocket podcast poet portrait poster president printer prisoner procedure producer "
    "professor programmer proposal psychologist publisher pupil puzzle rabbit recipe "
    "recommendation refrigerator refugee region regulation reporter researcher robot rocket "
    "screen secretary seller seminar shareholder shirt shoe shoulder snake specialist spider "
    "spoon stadium strategy suitcase supervisor supplier surgeon swimmer symptom tale "
    "telescope temple tenant trainee translator treaty tribe tunnel umbrella uniform viewer "
    "villager volunteer voter waiter waitress wallet warehouse weapon wizard workshop yacht "
    "zoo "
    "accident activity advantage airplane airport animal answer apartment apple argument artist "
    "attitude bag ball banana bank bed bike bird boat book bottle box brain bridge brother "
    "building "
    "bus camera campus car career cat chair challenge chance character church circle city "
    "client coat community computer concept concert conclusion "
    "conversation corner country couple course cup customer dad decision degree desk detail "
    "dictionary "
    "difference difficulty disadvantage disease dog door dream dress driver event exam example "
    "exception expert explanation eye fact factor factory farm farmer feeling field "
    "flower foreigner forest friend game garden gift goal guest guide habit hat hero "
    "hobby holiday hospital hotel house idea island job journey key kitchen lake "
    "language lawyer leader lesson letter library lie machine magazine man manager map market "
    "meal meeting member method mistake model moment month mother motorcycle mountain movie "
    "museum musician nation neighbor neighbour newspaper nurse obstacle opinion opportunity "
    "option organization paragraph parent park party passenger patient pen pencil person phone "
    "photo "
    "picture place planet player poem politician possibility problem product program "
    "programme project question reader reason relative restaurant result river road "
    "room rule scientist season secret seat sentence shop singer sister situation skill "
    "smartphone soldier solution song star statement station store story stranger street "
    "student subject suggestion supermarket table task teacher team teenager telephone "
    "theory thing ticket tool topic tourist toy tradition train traveler tree trip "
    "truck university uncle vehicle victim village visitor week weekend window winner woman "
    "word worker workplace writer year girl boy child day hour minute kid adult baby citizen "
    "employee employer aunt cousin daughter son husband wife king queen doctor engineer dollar "
    "mile kilometer meter grandmother grandfather grandparent classmate roommate "
    "consumer company website advertisement essay article viewpoint ability consequence "
    "generation profession occupation lifestyle technique approach aspect purpose effort";
constexpr std::string_view kPeople =
    "adviser ambassador architect athlete author boss boyfriend candidate celebrity champion "
    "colleague dancer designer developer editor girlfriend historian immigrant instructor "
    "inventor journalist landlord lecturer manufacturer mayor migrant minister nephew "
    "newcomer niece officer opponent owner painter partner poet president prisoner producer "
    "professor programmer psychologist publisher pupil refugee reporter researcher secretary "
    "seller shareholder specialist supervisor supplier surgeon swimmer tenant trainee "
    "translator viewer villager volunteer voter waiter waitress wizard "
    "artist brother client couple customer dad driver expert farmer foreigner friend guest guide "
    "hero "
    "lawyer leader man manager member mother musician neighbor neighbour nurse parent passenger "
    "patient person player politician reader relative scientist singer sister soldier stranger "
    "student teacher teenager tourist traveler uncle victim visitor winner woman worker writer "
    "girl "
    "boy child kid adult baby citizen employee employer aunt cousin daughter son husband wife king "
    "queen doctor engineer grandmother grandfather grandparent classmate roommate consumer";
// Of the things, those that no idiom has bare: not "at school", "by car", "on holiday".
constexpr std::string_view kStrictNouns =
    "accident advantage airplane airport animal apartment apple artist bottle box "
    "building "
    "camera career chair city client computer country customer decision detail dictionary "
    "difficulty "
    "disadvantage dog employee employer event expert explanation farmer flower foreigner friend "
    "guest "
    "guide idea island job lawyer lesson letter machine magazine method mistake mountain movie "
    "museum "
    "musician nation neighbor neighbour newspaper obstacle opinion opportunity passenger pencil "
    "phone photo picture planet player politician possibility problem product program project "
    "question "
    "reason restaurant river scientist shop singer situation smartphone soldier solution song "
    "statement stranger student subject suggestion supermarket teacher teenager ticket tool "
    "topic tourist toy vehicle village visitor winner woman worker writer girl boy child kid car "
    "person man website advertisement generation book house skill";
constexpr std::string_view kMeasures =
    "day hour minute month week year dollar mile kilometer meter season generation";
// Nouns that are left out where a missing article or plural is told: they also go without one.
constexpr std::string_view kMassNouns =
    "advice baggage equipment evidence furniture homework information knowledge luggage machinery "
    "money music news pollution progress research scenery software hardware traffic weather "
    "electricity luck transportation housework wealth happiness health";

constexpr std::string_view kAdjectives =
    "able active actual afraid angry average aware awful bad basic beautiful big boring brave "
    "bright broad busy careful careless certain cheap clear clever cold comfortable common "
    "complete complex complicated convenient cool correct crazy crowded cruel curious current "
    "daily dangerous dark dead deep delicious different difficult dirty eager early easy economic "
    "effective efficient elderly enormous entire equal essential everyday exact excellent exciting "
    "expensive extra fair familiar famous fantastic fast fat favorite final fine foreign "
    "free frequent fresh friendly full funny future general gentle global good great guilty "
    "happy hard healthy heavy helpful high honest hot huge human hungry ideal illegal important "
    "impossible independent individual interesting international jealous kind large late lazy "
    "legal little local lonely long loud lovely low lucky main major mental minor modern natural "
    "necessary negative nervous new nice noisy normal obvious old ordinary original painful "
    "patient peaceful perfect personal physical pleasant polite poor popular positive possible "
    "powerful practical pretty private professional proper proud public quick quiet rare ready "
    "real "
    "recent reliable rich right rude sad safe same scary scientific selfish separate serious "
    "severe "
    "sharp short shy sick significant similar simple single slow small smart social soft special "
    "specific strange strong stupid successful sudden suitable sure surprising sweet tall "
    "terrible thick thin tired tiny total traditional true typical ugly unhappy unique unusual "
    "useful useless usual valuable various warm weak wealthy wide wild wise wonderful wrong young "
    "talented educated experienced knowledgeable intelligent creative responsible confident";
constexpr std::string_view kGradable =
    "big small large cheap easy happy healthy heavy high low hot cold cool old young long short "
    "strong weak rich poor hard fast slow safe deep dark clean clear smart nice great busy early "
    "late close wide warm tall thin simple soft lucky lazy quick new near fresh wise dirty noisy "
    "friendly pretty angry hungry funny";

constexpr std::string_view kFunctionWords =
    "a an the this that these those my your his her its our their and or but so because if when "
    "while "
    "although though since unless until that who whom whose which what where why how of in on at "
    "by for "
    "with about against between into through during before after above below to from up down out "
    "off over under again then once here there all both each few more most some such no nor not "
    "only than too very can could will would shall should may might must can't cannot won't "
    "wouldn't shouldn't couldn't i you he she it we they me him us them is am are was were be been "
    "being isn't aren't wasn't weren't have has had having haven't hasn't hadn't do does did don't "
    "doesn't didn't as also always never often usually sometimes really just even still already "
    "however therefore today nowadays tomorrow yesterday like without within among around every "
    "everyone everybody many much several any another either neither";
constexpr std::string_view kPrepositions =
    "of in on at by for with about against between into through during before after from without "
    "within among around towards toward under over like as to";
constexpr std::string_view kDeterminers =
    "a an the this that these those my your his her its our their some any no each every either "
    "neither another what which whose one two three four five six seven eight nine ten many much "
    "few several all both enough more most less other";
constexpr std::string_view kAdverbs =
    "also always never often usually sometimes really just only still already even probably maybe "
    "actually now rarely ever simply generally mostly certainly definitely clearly easily";
constexpr std::string_view kModals =
    "can could will would shall should may might must can't cannot couldn't won't wouldn't "
    "shouldn't mustn't";
constexpr std::string_view kBeForms =
    "am is are was were be been being isn't aren't wasn't weren't";
constexpr std::string_view kConjunctions = "because that when but although though while since if "
                                           "whether what where how why so which who unless until "
                                           "therefore however then";

bool isVowel(char c) {
    return c == 'a' || c == 'e' || c == 'i' || c == 'o' || c == 'u';
}

bool endsIn(const std::string& word, std::string_view end) {
    return word.size() > end.size() && word.ends_with(end);
}

/// Whether a last consonant is doubled: "stop", "prefer", "admit"; not "visit", "open".
bool doubles(const std::string& word) {
    const std::size_t n = word.size();
    if (n < 3) return false;
    if (isVowel(word[n - 1]) || word[n - 1] == 'w' || word[n - 1] == 'x' || word[n - 1] == 'y') {
        return false;
    }
    if (!isVowel(word[n - 2]) || isVowel(word[n - 3])) return false;
    std::size_t vowels = 0;
    for (const char c : word) vowels += isVowel(c) ? 1U : 0U;
    if (vowels == 1) return true;
    for (const std::string_view stressed :
         {"prefer", "refer", "admit", "commit", "occur", "forget", "begin", "regret", "control",
          "transmit", "dispel", "compel", "infer", "deter", "incur", "permit"}) {
        if (word == stressed) return true;
    }
    return false;
}

std::string withEnding(const std::string& word, std::string_view ending) {
    const bool ing = ending == "ing";
    if (endsIn(word, "ie") && ing) return word.substr(0, word.size() - 2) + "ying";
    if (endsIn(word, "e") && (!ing || !endsIn(word, "ee"))) {
        return word.substr(0, word.size() - 1) + std::string(ending);
    }
    if (endsIn(word, "y") && !ing && !isVowel(word[word.size() - 2])) {
        return word.substr(0, word.size() - 1) + "i" + std::string(ending);
    }
    if (doubles(word)) return word + word.back() + std::string(ending);
    return word + std::string(ending);
}

template <typename Each>
void forEachWord(std::string_view list, char parting, const Each& each) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(parting), list.size());
        if (end > 0) each(std::string(list.substr(0, end)));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

class Lexicon {
public:
    Lexicon() {
        addVerbs();
        addNouns();
        addAdjectives();
        addList(kFunctionWords, kFunction);
        addList(kPrepositions, kPreposition | kFunction);
        addList(kDeterminers, kDeterminer);
        addList(kAdverbs, kAdverb | kFunction);
        addList(kModals, kModal | kFunction);
        addList(kBeForms, kBe | kFunction);
        addList(kConjunctions, kConjunction | kFunction);
        sortByLetter();
    }

    [[nodiscard]] std::uint32_t of(std::string_view word) const {
        const auto found = m_classes.find(std::string(word));
        if (found != m_classes.end()) return found->second;
        return isOpenAdverb(word) ? static_cast<std::uint32_t>(kAdverb) : 0U;
    }

    [[nodiscard]] const std::vector<std::string_view>& beginningWith(char first) const {
        const bool letter = first >= 'a' && first <= 'z';
        return m_byLetter[letter ? static_cast<std::size_t>(first - 'a') + 1 : 0];
    }

private:
    void sortByLetter() {
        for (const auto& [word, classes] : m_classes) {
            const char first = word.front();
            if (classes == 0 || first < 'a' || first > 'z') continue;
            m_byLetter[static_cast<std::size_t>(first - 'a') + 1].push_back(word);
        }
        for (auto& words : m_byLetter) std::sort(words.begin(), words.end());
    }

    /// "considerably": adverbs are an open class, told by their ending.
    static bool isOpenAdverb(std::string_view word) {
        constexpr std::size_t kShortest = 7;
        if (word.size() < kShortest || !word.ends_with("ly")) return false;
        for (const std::string_view other :
             {"assembly",  "butterfly",   "monopoly",   "multiply",   "anomaly",   "elderly",
              "friendly",  "unfriendly",  "cowardly",   "scholarly",  "fatherly",  "motherly",
              "brotherly", "unlikely",    "worldly",    "monthly",    "quarterly", "homily",
              "orderly",   "heavenly",    "leisurely",  "supply",     "resupply",  "reapply",
              "comply",    "unholy",      "costly",     "deadly",     "lonely",    "lovely",
              "kindly",    "weekly",      "biweekly",   "firefly",    "dragonfly", "disorderly",
              "subfamily", "superfamily", "underbelly", "melancholy", "panoply"}) {
            if (word == other) return false;
        }
        return true;
    }

    void add(const std::string& word, std::uint32_t classes) { m_classes[word] |= classes; }
    void drop(const std::string& word, std::uint32_t classes) { m_classes[word] &= ~classes; }

    void addList(std::string_view list, std::uint32_t classes) {
        forEachWord(list, ' ', [&](const std::string& word) { add(word, classes); });
    }

    void addVerbs() {
        forEachWord(kPureVerbs, ' ', [&](const std::string& word) {
            add(word, kBase | kPureBase);
            add(withEndingS(word), kThird | kAnyThird);
            add(withEnding(word, "ed"), kRegularPast);
            add(withEnding(word, "ing"), kIng);
        });
        forEachWord(kMixedVerbs, ' ', [&](const std::string& word) {
            add(word, kBase);
            add(withEndingS(word), kAnyThird);
            add(withEnding(word, "ed"), kRegularPast);
        });
        forEachWord(kIrregularVerbs, '|', [&](const std::string& entry) {
            const std::size_t first = entry.find(' ');
            const std::size_t second = entry.find(' ', first + 1);
            std::string base = entry.substr(0, first);
            const std::string past = entry.substr(first + 1, second - first - 1);
            const std::string participle = entry.substr(second + 1);
            const bool mixed = base.back() == '=';
            if (mixed) base.pop_back();
            add(base, kBase | (mixed ? 0U : kPureBase));
            if (base == "have") {
                add("has", kThird);
            } else if (!mixed) {
                add(withEndingS(base), kThird | kAnyThird);
                add(withEnding(base, "ing"), kIng);
            } else {
                add(withEndingS(base), kAnyThird);
            }
            add(past, kPast | (past == participle || base == "get" ? 0U : kPastOnly));
        });
        forEachWord(kNotPure, ' ', [&](const std::string& word) {
            if (word != "choose" && word != "understand") {
                drop(word, kPureBase);
                drop(withEndingS(word), kThird);
                drop(withEnding(word, "ing"), kIng);
            }
        });
        forEachWord(kAmbiguousPast, ' ', [&](const std::string& word) {
            drop(word, kPast | kPastOnly);
            if (word != "found" && word != "saw" && word != "ground" && word != "bound" &&
                word != "fit" && word != "hung") {
                add(word, kLatePast);
            }
        });
    }

    static std::string pluralOf(const std::string& word) {
        static const std::unordered_map<std::string, std::string> irregular = {
            {"person", "people"},
            {"man", "men"},
            {"woman", "women"},
            {"child", "children"},
            {"wife", "wives"}};
        const auto found = irregular.find(word);
        return found == irregular.end() ? withEndingS(word) : found->second;
    }

    void addNouns() {
        forEachWord(kThings, ' ', [&](const std::string& word) {
            add(word, kSingular);
            add(pluralOf(word), kPlural);
        });
        forEachWord(kPeople, ' ', [&](const std::string& word) {
            add(word, kPerson);
            add(pluralOf(word), kPerson);
        });
        forEachWord(kMeasures, ' ', [&](const std::string& word) {
            add(word, kMeasure);
            add(pluralOf(word), kMeasure);
        });
        addList(kMassNouns, kMass);
        addList(kStrictNouns, kStrict);
        addList("me him her us them it you", kObject);
    }

    void addAdjectives() {
        addList(kAdjectives, kAdjective);
        forEachWord(kGradable, ' ', [&](const std::string& word) {
            add(word, kAdjective);
            add(withEnding(word, "er"), kComparative);
            add(withEnding(word, "est"), kSuperlative);
        });
        for (const char* word : {"better", "worse"}) add(word, kComparative);
        for (const char* word : {"best", "worst"}) add(word, kSuperlative);
    }

    std::unordered_map<std::string, std::uint32_t> m_classes;
    std::array<std::vector<std::string_view>, 27> m_byLetter; ///< None, then "a" to "z".
};

const Lexicon& lexicon() {
    static const Lexicon made;
    return made;
}

} // namespace

std::string withEndingS(const std::string& word) {
    if (endsIn(word, "y") && !isVowel(word[word.size() - 2])) {
        return word.substr(0, word.size() - 1) + "ies";
    }
    for (const std::string_view end : {"s", "x", "z", "ch", "sh"}) {
        if (endsIn(word, end)) return word + "es";
    }
    if (word == "go" || word == "do" || word == "hero" || word == "undergo") return word + "es";
    return word + "s";
}

std::string withStraightApostrophes(std::string_view word) {
    constexpr std::string_view kCurly = "\u2019";
    std::string straight;
    for (std::size_t at = word.find(kCurly); at != std::string_view::npos; at = word.find(kCurly)) {
        straight.append(word.substr(0, at)).push_back('\'');
        word.remove_prefix(at + kCurly.size());
    }
    return straight.append(word);
}

std::uint32_t classesOf(std::string_view word) {
    return lexicon().of(word);
}

const std::vector<std::string_view>& everydayWords(char first) {
    return lexicon().beginningWith(first);
}

bool keepsTo(std::string_view verb) {
    static const WordSet verbs(
        "refer referred refers referring apply applied applying connect connected listen listened "
        "listening pray talk talked talking speak spoke subscribed belong belongs attached adhere "
        "objected responded");
    return verbs.has(verb);
}

WordSet::WordSet(std::string_view words) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        if (end > 0) m_words.insert(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

} // namespace trevix
