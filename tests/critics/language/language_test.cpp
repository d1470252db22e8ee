#include "critics/language/dictionary.h"
#include "critics/language/hunspell_shelf.h"
#include "critics/language/language_teller.h"
#include "critics/language/language_tools.h"
#include "critics/language/slip_list.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace trevix {
namespace {

namespace fs = std::filesystem;

/// A folder of this test alone, gone with it.
class Folder {
public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "language_test.XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~Folder() {
        std::error_code error;
        fs::remove_all(m_path, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] fs::path path() const { return m_path; }
    void write(const std::string& name, const std::string& content) const {
        std::ofstream(m_path / name, std::ios::binary) << content;
    }

private:
    fs::path m_path;
};

TEST(LanguageTeller, TellsByLittleWords) {
    EXPECT_EQ(tellLanguage("The price of the tickets is higher than we thought.").name, "English");
    EXPECT_EQ(tellLanguage("Wir haben das Angebot für den Umbau noch nicht erhalten.").name,
              "German");
    EXPECT_EQ(tellLanguage("Nous avons reçu les documents et ils sont dans le dossier.").name,
              "French");
    EXPECT_EQ(tellLanguage("Los precios de las entradas son más altos que el año pasado.").name,
              "Spanish");
}

TEST(LanguageTeller, FlawedEnglishIsStillEnglish) {
    EXPECT_EQ(tellLanguage("She dont know were the bag of his brother are.").language,
              NaturalLanguage::english);
}

TEST(LanguageTeller, NamesOtherScripts) {
    EXPECT_EQ(tellLanguage("これは日本語の文章です。明日また来てください。").name, "Japanese");
    EXPECT_EQ(tellLanguage("这是一个很长的中文句子，没有别的语言。").name, "Chinese");
    EXPECT_EQ(tellLanguage("이것은 한국어 문장입니다. 내일 다시 오세요.").name, "Korean");
    EXPECT_EQ(tellLanguage("Это предложение написано по-русски.").language, NaturalLanguage::other);
}

TEST(LanguageTeller, SaysNothingWhereItIsNotSure) {
    EXPECT_EQ(tellLanguage(""), ToldLanguage());
    EXPECT_EQ(tellLanguage("12:30 - 14:00"), ToldLanguage());
    EXPECT_EQ(tellLanguage("Berlin Paris Madrid"), ToldLanguage());
    EXPECT_EQ(tellLanguage("\xFF\xFE\xFD"), ToldLanguage());
}

TEST(LanguageTeller, DoesNotTakeANeighbourForOneItKnows) {
    // Dutch shares little words with German and English.
    EXPECT_NE(tellLanguage("Het huis van de buren is niet zo groot als dat van ons.").language,
              NaturalLanguage::german);
    EXPECT_NE(tellLanguage("Il prezzo del biglietto è più alto di quello che pensavo.").language,
              NaturalLanguage::spanish);
}

TEST(Edits, CountsLettersNotBytes) {
    EXPECT_EQ(editsBetween("house", "house", 2), 0U);
    EXPECT_EQ(editsBetween("House", "house", 2), 0U);
    EXPECT_EQ(editsBetween("huose", "house", 2), 1U) << "neighbours swapped";
    EXPECT_EQ(editsBetween("größe", "grösse", 2), 2U);
    EXPECT_EQ(editsBetween("über", "uber", 2), 1U);
    EXPECT_EQ(editsBetween("a", "abcdef", 2), 3U) << "more than asked for";
    EXPECT_EQ(editsBetween("", "ab", 3), 2U);
}

TEST(OneEdit, FindsTheLikeliestSlipFirst) {
    ListShelf shelf;
    shelf.add(NaturalLanguage::english, "form from farm forms for fork London");
    const SpellingBooks& books = shelf.of(NaturalLanguage::english);
    const auto near = [&](std::string_view word, bool capitals = false, std::size_t most = 10) {
        return wordsOneEditFrom(word, books, NaturalLanguage::english, capitals, most);
    };
    ASSERT_FALSE(near("fomr").empty());
    EXPECT_EQ(near("fomr").front(), "form") << "swapped";
    EXPECT_EQ(near("forrm").front(), "form") << "doubled";
    EXPECT_EQ(near("frm").front(), "farm") << "left out, the commoner letter first";
    EXPECT_EQ(near("torm"), std::vector<std::string>{"form"}) << "the first letter";
    EXPECT_EQ(near("londn"), std::vector<std::string>());
    EXPECT_EQ(near("londn", true), std::vector<std::string>{"London"});
    EXPECT_EQ(near("forn", false, 1).size(), 1U);
    EXPECT_EQ(near("xyzzy"), std::vector<std::string>());
    EXPECT_EQ(near(""), std::vector<std::string>());
}

TEST(ListShelf, KnowsCapitalsAsADictionaryDoes) {
    ListShelf shelf;
    shelf.add(NaturalLanguage::english, "house Berlin");
    const SpellingBooks& books = shelf.of(NaturalLanguage::english);
    EXPECT_TRUE(books.know("house"));
    EXPECT_TRUE(books.know("House"));
    EXPECT_TRUE(books.know("Berlin"));
    EXPECT_FALSE(books.know("berlin"));
    EXPECT_TRUE(shelf.of(NaturalLanguage::french).books.empty());
    EXPECT_FALSE(shelf.of(NaturalLanguage::french).why.empty());
}

TEST(SlipList, ReadsItsLines) {
    const SlipList list("wrogn->wrong\nfoo\n->bar\nther->there, their, the,\nempty->\n\r\n"
                        "ende->end\r\n");
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(list.meantBy("wrogn"), "wrong");
    EXPECT_EQ(list.meantBy("ther"), "there");
    EXPECT_EQ(list.meantBy("ende"), "end");
    EXPECT_EQ(list.meantBy("right"), "");
}

TEST(SlipList, IsNoneWithoutAFile) {
    const Folder folder;
    EXPECT_EQ(readSlipList({}), nullptr);
    EXPECT_EQ(readSlipList({folder.path() / "none.txt"}), nullptr);
    folder.write("list.txt", "wrogn->wrong\n");
    const auto list = readSlipList({folder.path() / "none.txt", folder.path() / "list.txt"});
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->size(), 1U);
}

TEST(PersonalWords, AreLinesWithoutRemarks) {
    const PersonalWords words =
        personalWordsIn("# mine\nKubelwagen  \n\n foo # a project\n\tBär\r\n");
    EXPECT_EQ(words, (PersonalWords{"kubelwagen", "foo", "bär"}));
    EXPECT_TRUE(personalWordsIn("").empty());
    const Folder folder;
    EXPECT_TRUE(readPersonalWords(folder.path() / "none").empty());
    folder.write("dictionary.txt", "foo\n");
    EXPECT_EQ(readPersonalWords(folder.path() / "dictionary.txt"), PersonalWords{"foo"});
    folder.write("large.txt", std::string((std::size_t{1} << 20U) + 1, 'a'));
    EXPECT_TRUE(readPersonalWords(folder.path() / "large.txt").empty());
}

TEST(DictionaryFolders, HaveThoseOfThePersonFirst) {
    const auto folders = dictionaryFolders("/home/a", "/data/a");
    ASSERT_GE(folders.size(), 4U);
    EXPECT_EQ(folders[0], fs::path("/data/a/hunspell"));
    EXPECT_EQ(folders[1], fs::path("/home/a/.local/share/hunspell"));
    EXPECT_NE(std::find(folders.begin(), folders.end(), fs::path("/usr/share/hunspell")),
              folders.end());
    EXPECT_EQ(dictionaryFolders("", "").front(), fs::path("/usr/share/hunspell"));
}

/// Skipped only in a build without the library, which says so.
class Hunspell : public testing::Test {
protected:
    void SetUp() override {
        if (hunspellShelf({})->version().empty())
            GTEST_SKIP() << "no spelling library in this build";
    }
    static void writeBook(const Folder& folder, const std::string& name, const std::string& words,
                          const std::string& encoding = "UTF-8") {
        folder.write(name + ".aff", "SET " + encoding +
                                        "\nTRY esianrtolcdugmphbyfvkwz\n"
                                        "SFX S Y 1\nSFX S 0 s .\n");
        folder.write(name + ".dic", words);
    }
};

TEST_F(Hunspell, ReadsTheFirstFolderThatHasABook) {
    const Folder first;
    const Folder second;
    writeBook(second, "en_US", "2\nhouse/S\ngarden\n");
    writeBook(second, "en_GB", "1\ncolour\n");
    const auto shelf = hunspellShelf({first.path(), second.path()});
    const SpellingBooks& books = shelf->of(NaturalLanguage::english);
    EXPECT_EQ(books.names, "en_US, en_GB");
    EXPECT_TRUE(books.know("houses"));
    EXPECT_TRUE(books.know("colour")) << "right in one of the books is right";
    EXPECT_FALSE(books.know("gardn"));
    ASSERT_FALSE(books.books.empty());
    const auto suggestions = books.books[0]->suggestions("gardn");
    EXPECT_NE(std::find(suggestions.begin(), suggestions.end(), "garden"), suggestions.end());
    EXPECT_EQ(shelf->engine(), "hunspell");
}

TEST_F(Hunspell, ReadsLatin1) {
    const Folder folder;
    writeBook(folder, "de_DE", "1\nM\xE4rz\n", "ISO8859-1");
    const auto shelf = hunspellShelf({folder.path()});
    const SpellingBooks& books = shelf->of(NaturalLanguage::german);
    ASSERT_FALSE(books.books.empty());
    EXPECT_TRUE(books.know("März"));
    EXPECT_FALSE(books.know("Marz"));
    EXPECT_TRUE(books.know("東京")) << "letters that the book cannot have are not its business";
}

TEST_F(Hunspell, SaysWhatIsMissingAndHowToGetIt) {
    const Folder folder;
    const auto shelf = hunspellShelf({folder.path()});
    const SpellingBooks& none = shelf->of(NaturalLanguage::french);
    EXPECT_TRUE(none.books.empty());
    EXPECT_EQ(none.why, "no dictionary of the language is installed");
    EXPECT_EQ(none.remedy, "install hunspell-fr");
    const SpellingBooks& other = shelf->of(NaturalLanguage::other);
    EXPECT_EQ(other.why, "no dictionary of it is known here");
    EXPECT_EQ(other.remedy, "");
}

TEST_F(Hunspell, ABrokenBookIsAReason) {
    const Folder folder;
    folder.write("fr.aff", "SET KOI8-R\n");
    folder.write("fr.dic", "1\nmaison\n");
    folder.write("es_ES.aff", "");
    folder.write("es_ES.dic", "");
    const auto shelf = hunspellShelf({folder.path()});
    EXPECT_EQ(shelf->of(NaturalLanguage::french).why, "the dictionary fr cannot be read");
    EXPECT_EQ(shelf->of(NaturalLanguage::french).remedy, "install again hunspell-fr");
    EXPECT_TRUE(shelf->of(NaturalLanguage::spanish).books.empty());
}

TEST_F(Hunspell, TakesWordsOfAnyLength) {
    const Folder folder;
    writeBook(folder, "en_US", "1\nhouse\n");
    const auto shelf = hunspellShelf({folder.path()});
    const SpellingBooks& books = shelf->of(NaturalLanguage::english);
    EXPECT_TRUE(books.know(std::string(100'000, 'a')));
    EXPECT_FALSE(books.know(std::string(90, 'a')));
    EXPECT_FALSE(books.know("\xFF\xFF"));
}

} // namespace
} // namespace trevix
