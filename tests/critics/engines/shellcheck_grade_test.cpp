#include "critics/engines/shellcheck_grade.h"

#include "critics/engines/shell_values.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace trevix {
namespace {

ShellOrigin origin(std::string_view script, std::string_view name = "x") {
    return shellOrigin(script, name);
}

TEST(ShellValues, TellWordsOfTheScriptFromThoseOfOthers) {
    EXPECT_EQ(origin("x=/usr/lib\n"), ShellOrigin::own);
    EXPECT_EQ(origin("base=/usr\nx=$base/lib\n"), ShellOrigin::own);
    EXPECT_EQ(origin("  local x='$1'\n"), ShellOrigin::own);
    EXPECT_EQ(origin("x=$((y + 1))\n"), ShellOrigin::own);
    EXPECT_EQ(origin("x=$(mktemp -d)\n"), ShellOrigin::own);
    EXPECT_EQ(origin("x=`uname -m`/`date +%d`\n"), ShellOrigin::own);
    EXPECT_EQ(origin("for x in one two; do rm $x; done\n"), ShellOrigin::own);
    EXPECT_EQ(origin("x=a; x+=b\n"), ShellOrigin::own);
    EXPECT_EQ(origin("rm $0\n", "0"), ShellOrigin::own);

    EXPECT_EQ(origin("rm $1\n", "1"), ShellOrigin::outside);
    EXPECT_EQ(origin("rm ${12}\n", "12"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=$1\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=a\nx=\"${2:-b}\"\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=a/$*\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("file=$1\nx=$file.old\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=$(ls)\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=$(printf %s \"$1\")\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("x=`date`-`hostname -f`\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("while IFS= read -r y x; do rm $x; done\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("for x in *.txt; do rm $x; done\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("for x in $(ls); do rm $x; done\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("for x; do rm $x; done\n"), ShellOrigin::outside);
    EXPECT_EQ(origin("while getopts d: o; do x=$OPTARG; done\n"), ShellOrigin::outside);

    EXPECT_EQ(origin("rm $x\n"), ShellOrigin::unknown);
    EXPECT_EQ(origin("test a=x\nrm --x=$1\nxx=$1\n"), ShellOrigin::unknown);
    EXPECT_EQ(origin(""), ShellOrigin::unknown);
    EXPECT_EQ(origin("x=1\n", ""), ShellOrigin::unknown);
    EXPECT_EQ(origin("x=$x$x\n"), ShellOrigin::own);
}

TEST(ShellValues, NameTheCommandOfAWord) {
    const auto command = [](std::string_view script) {
        return shellCommandAround(script, script.find('@'));
    };
    EXPECT_EQ(command("rm -f @"), "rm");
    EXPECT_EQ(command("cd a && sudo -E rm @"), "-E"); // whose options it does not know
    EXPECT_EQ(command("cd a && sudo rm @"), "rm");
    EXPECT_EQ(command("if ! [ -e @ ]; then"), "[");
    EXPECT_EQ(command("LC_ALL=C sort @"), "sort");
    EXPECT_EQ(command("rm ${folder}/@"), "rm");
    EXPECT_EQ(command("a=$(basename @)"), "basename");
    EXPECT_EQ(command("rm -f \\\n  one \\\n  @"), "rm");
    EXPECT_EQ(command("ls\n@"), "");
    EXPECT_EQ(shellCommandAround("", 0), "");
}

// A megabyte each, of what would be followed without an end: this ends, and says something.
TEST(ShellValues, EndWhateverTheScriptIs) {
    const auto repeated = [](std::string_view piece) {
        std::string text;
        while (text.size() < (std::size_t{1} << 20U)) text += piece;
        return text;
    };
    for (const std::string_view piece :
         {"x=$x$y$z ", " x", "x= ", "x=$y;y=$x;", "\\\n x", "$x`", "(", "for x in $x;"}) {
        const std::string text = repeated(piece);
        EXPECT_NE(origin(text), ShellOrigin::outside) << piece;
        (void)shellCommandAround(text, text.size());
    }
}

TEST(ShellcheckGrade, OutputThatNothingReadsWeighsWhatALiteralDoesNot) {
    const auto grade = [](std::string_view text, std::size_t offset = 0, bool whole = true) {
        return gradeOf("shellcheck", {"SC2034", "warning", "", 1, 1, ""}, {whole, text, offset});
    };
    EXPECT_EQ(grade("count=$(wc -l < list)"), Severity::medium);
    EXPECT_EQ(grade("  local -r day=`date +%d`", 11), Severity::medium);
    EXPECT_EQ(grade("rows+=(\"$(head -n 1 list)\")"), Severity::medium);
    EXPECT_EQ(grade("count=$(wc -l < list)", 0, false), Severity::low);
    EXPECT_EQ(grade("colour=green"), Severity::low);
    EXPECT_EQ(grade("count=$((rows + 1))"), Severity::low);
    EXPECT_EQ(grade("for i in $(seq 3); do", 4), Severity::low);
    EXPECT_EQ(grade("while read -r first rest", 14), Severity::low);
    EXPECT_EQ(grade("if count=$(wc -l < list); then", 3), Severity::low);
    EXPECT_EQ(grade("count=$(wc -l < list) || exit"), Severity::low);
    EXPECT_EQ(grade("count=$(wc -l < list)\ntest \"${count}\"\n"), Severity::low);
    EXPECT_EQ(grade("words=$(list)\ncomplete -W '$words' cat\n"), Severity::low);
    EXPECT_EQ(grade("words=$(list)\necho \"$words_of_all\"\n"), Severity::medium);
    EXPECT_EQ(grade("set -u\nwords=$(list)\ncat || exit\n", 7), Severity::medium);
    EXPECT_EQ(grade(""), Severity::low);
    EXPECT_EQ(grade("x", 9), Severity::low);
}

/// Of a finding with that code where "@" stands in the text, which is taken out.
std::optional<Severity> grade(std::string_view code, std::string text, bool whole = true,
                              std::string message = "") {
    const std::size_t offset = text.find('@');
    text.erase(offset, 1);
    return gradeOf("shellcheck", {std::string(code), "info", "", 1, 1, std::move(message)},
                   {whole, text, offset});
}

TEST(ShellcheckGrade, WordsThatArePartedWeighByWhatTheyReach) {
    const auto parted = [](std::string text) { return grade("SC2086", std::move(text)); };
    EXPECT_EQ(parted("rm @$target\n"), Severity::medium);
    EXPECT_EQ(parted("rm -rf @$f/$1\n"), Severity::medium);
    EXPECT_EQ(parted("rm -rf $f/@$1\n"), Severity::medium);
    EXPECT_EQ(parted("if true; then rm @$target; fi\n"), Severity::medium);
    EXPECT_EQ(parted("sudo chown me @${1}\n"), Severity::medium);
    EXPECT_EQ(parted("for i in *.txt; do rm @$i; done\n"), Severity::medium);
    EXPECT_EQ(parted("folder=$1\ncd @${folder}/in\n"), Severity::medium);
    EXPECT_EQ(parted("[ -z @$1 ]\n"), Severity::medium);
    EXPECT_EQ(parted("read -r target\necho done > @$target\n"), Severity::medium);
    EXPECT_EQ(parted("rm @${!name}\n"), Severity::medium);

    EXPECT_EQ(parted("target=/var/cache/beds\nrm @$target/*\n"), Severity::low);
    EXPECT_EQ(parted("rm lock@$i\ni=$((i + 1))\n"), Severity::low);
    EXPECT_EQ(parted("for i in one two; do rm @$i; done\n"), Severity::low);
    EXPECT_EQ(parted("cd @${folder}/in\n"), Severity::low);
    EXPECT_EQ(parted("echo done > @$target\n"), Severity::low);
    EXPECT_EQ(parted("folder=$1\n[ -d @$folder/in ]\n"), Severity::low);
    EXPECT_EQ(parted("[ x@$1 = xyes ]\n"), Severity::low);
    EXPECT_EQ(parted("[ @$1 -ne 127 ]\n"), Severity::low);
    EXPECT_EQ(parted("echo @$target\n"), Severity::low);
    EXPECT_EQ(parted("exit @$1\n"), Severity::low);
    EXPECT_EQ(parted("diff @$1 $2\n"), Severity::low);
    EXPECT_EQ(parted("rm @$RM_OPTIONS \"$file\"\n"), Severity::low);
    EXPECT_EQ(parted("ls | @${PAGER-more}\n"), Severity::low);
}

TEST(ShellcheckGrade, AStarAloneIsAnyName) {
    EXPECT_EQ(grade("SC2035", "rm -r @*\n"), Severity::medium);
    EXPECT_EQ(grade("SC2035", "(cd in; chown me @*)\n"), Severity::medium);
    EXPECT_EQ(grade("SC2035", "tar czf ../all.tgz @*"), Severity::medium);
    EXPECT_EQ(grade("SC2035", "rm -r @*.log\n"), Severity::low);
    EXPECT_EQ(grade("SC2035", "grep bed @*\n"), Severity::low);
}

TEST(ShellcheckGrade, AFormatOfOthersIsAFault) {
    EXPECT_EQ(grade("SC2059", "printf @\"$1\\n\"\n"), Severity::medium);
    EXPECT_EQ(grade("SC2059", "note=$(cat note)\nprintf @$note\n"), Severity::medium);
    EXPECT_EQ(grade("SC2059", "printf @\"$(cat note)\"\n"), Severity::medium);
    EXPECT_EQ(grade("SC2059", "printf @\"$note\"\n"), Severity::medium);
    EXPECT_EQ(grade("SC2059", "printf @\"$note\"\n", false), Severity::low);
    EXPECT_EQ(grade("SC2059", "bold=$(tput bold)\nprintf @\"${bold}Beds\\n\"\n"), Severity::low);
    EXPECT_EQ(grade("SC2059", "say() { form=$1; shift; printf @$form \"$@\"; }\n"), Severity::low);
}

TEST(ShellcheckGrade, AFileThatIsReadAndWrittenIsLost) {
    EXPECT_EQ(grade("SC2094", "sort @beds > beds\n"), Severity::medium);
    EXPECT_EQ(grade("SC2094", "cat beds | sed s/a/b/ > @beds\n"), Severity::medium);
    EXPECT_EQ(grade("SC2094", "curl -X @GET localhost > GET\n"), Severity::low);
}

TEST(ShellcheckGrade, ANameThatIsNearlyTheOneThatIsSet) {
    constexpr auto kMessage =
        "Possible misspelling: BEDCOUNT may not be assigned. Did you mean BED_COUNT?";
    EXPECT_EQ(grade("SC2153", "BED_COUNT=3; echo @$BEDCOUNT\n", true, kMessage), Severity::medium);
    EXPECT_EQ(grade("SC2153", "BED_COUNT=3; echo @$BEDCOUNT\n", false, kMessage), Severity::low);
    EXPECT_EQ(grade("SC2153", "BED_COUNT=3; echo @$BEDCOUNT $BED_COUNT\n", true, kMessage),
              Severity::low);
    EXPECT_EQ(grade("SC2153", "BED_COUNT=3; echo @$BEDCOUNT\n", true, "Possible misspelling."),
              Severity::low);
}

TEST(ShellcheckGrade, ANameThatIsPrintedForItsValue) {
    EXPECT_EQ(grade("SC2016", "for bed in *; do echo @'$bed'; done\n"), Severity::medium);
    EXPECT_EQ(grade("SC2016", "beds=3\nprintf @'of ${beds}\\n'\n"), Severity::medium);
    EXPECT_EQ(grade("SC2016", "echo @'set $HOME first'\n"), Severity::low);
    EXPECT_EQ(grade("SC2016", "echo @'the price is $5'\n"), Severity::low);
    EXPECT_EQ(grade("SC2016", "beds=3\nawk @'{ print $beds }'\n"), Severity::low);
    EXPECT_EQ(grade("SC2016", "PATH=/bin\necho @'PATH=$PATH:/opt' >> ~/.profile\n"), Severity::low);
}

} // namespace
} // namespace trevix
