#include "platform/linux/x11/copy_keys.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <string>

namespace kelvane {
namespace {

constexpr KeyCode kEscape = 9, kControlL = 37, kShiftL = 50, kShiftR = 62, kAltL = 64, kCaps = 66;
constexpr KeyCode kNum = 77, kKeypad0 = 90, kControlR = 105, kInsert = 118, kSuperL = 133;
constexpr KeyCode kAltGr = 92;
constexpr std::uint32_t kInsertSymbol = 0xFF63, kKeypadInsertSymbol = 0xFF9E;

/// An ordinary keyboard with two groups of two levels each.
KeyboardState keyboard(std::initializer_list<KeyCode> held = {}) {
    KeyboardState state;
    state.firstKeyCode = 8;
    state.symbolsPerKey = 4;
    state.symbols.assign(std::size_t{248} * 4, 0);
    const std::map<KeyCode, std::uint32_t> symbols{
        {kEscape, 0xFF1B}, {kControlL, 0xFFE3}, {kShiftL, 0xFFE1}, {kShiftR, 0xFFE2},
        {kAltL, 0xFFE9},   {kCaps, 0xFFE5},     {kNum, 0xFF7F},    {kKeypad0, kKeypadInsertSymbol},
        {kAltGr, 0xFE03},  {kControlR, 0xFFE4}, {kSuperL, 0xFFEB}, {kInsert, kInsertSymbol}};
    for (const auto& [key, symbol] : symbols) state.symbols[(key - 8U) * 4U] = symbol;
    state.modifiers = {{{kShiftL, kShiftR},
                        {kCaps, 0},
                        {kControlL, kControlR},
                        {kAltL, 0},
                        {kNum, 0},
                        {},
                        {kSuperL, 0},
                        {kAltGr, 0}}};
    for (const auto key : held) state.held[key] = true;
    return state;
}

std::string told(const std::optional<std::vector<KeyStroke>>& strokes) {
    if (!strokes) return "none";
    static const std::map<KeyCode, std::string> names{
        {kControlL, "Ctrl"}, {kControlR, "CtrlR"}, {kShiftL, "Shift"},    {kShiftR, "ShiftR"},
        {kAltL, "Alt"},      {kSuperL, "Super"},   {kInsert, "Insert"},   {kCaps, "Caps"},
        {kNum, "Num"},       {kAltGr, "AltGr"},    {kKeypad0, "Keypad0"}, {kEscape, "Escape"}};
    std::string text;
    for (const auto& stroke : *strokes) {
        text += (text.empty() ? "" : " ") + std::string(stroke.press ? "+" : "-") +
                names.at(stroke.key);
    }
    return text;
}

TEST(CopyKeys, letsGoOfWhatIsHeldAndPressesItAgain) {
    struct Case {
        std::string name;
        std::initializer_list<KeyCode> held;
        std::string expected;
    };
    const Case cases[] = {
        {"nothing held", {}, "+Ctrl +Insert -Insert -Ctrl"},
        {"Shift never meets Control, which may switch the layout",
         {kShiftL},
         "-Shift +Ctrl +Insert -Insert -Ctrl +Shift"},
        {"both Shifts",
         {kShiftL, kShiftR},
         "-Shift -ShiftR +Ctrl +Insert -Insert -Ctrl +Shift +ShiftR"},
        {"Alt never goes up alone, which opens a menu",
         {kAltL},
         "+Ctrl -Alt +Insert -Insert +Alt -Ctrl"},
        {"Super likewise", {kSuperL}, "+Ctrl -Super +Insert -Insert +Super -Ctrl"},
        {"AltGr", {kAltGr}, "+Ctrl -AltGr +Insert -Insert +AltGr -Ctrl"},
        {"Control is held already", {kControlL}, "+Insert -Insert"},
        {"the right Control does as well", {kControlR}, "+Insert -Insert"},
        {"Caps Lock under a finger is not toggled", {kCaps}, "+Ctrl +Insert -Insert -Ctrl"},
        {"Num Lock under a finger is not toggled", {kNum}, "+Ctrl +Insert -Insert -Ctrl"},
        {"keys that are no modifiers", {kEscape, kKeypad0}, "+Ctrl +Insert -Insert -Ctrl"},
        {"Insert itself", {kInsert}, "-Insert +Ctrl +Insert -Insert -Ctrl"},
        {"everything", {kShiftL, kAltL, kControlL}, "-Shift -Alt +Insert -Insert +Alt +Shift"},
    };
    for (const auto& c : cases) EXPECT_EQ(told(copyKeys(keyboard(c.held))), c.expected) << c.name;
}

TEST(CopyKeys, takesTheRealInsertKeyNotTheKeypads) {
    auto state = keyboard();
    state.symbols[(kInsert - 8U) * 4U] = 0;
    EXPECT_EQ(copyKeys(state), std::nullopt);
    state.symbols[(kKeypad0 - 8U) * 4U + 1] = kInsertSymbol; // Only with Shift.
    EXPECT_EQ(copyKeys(state), std::nullopt);
}

TEST(CopyKeys, findsInsertInTheSecondGroup) {
    auto state = keyboard();
    state.symbols[(kInsert - 8U) * 4U] = 0;
    state.symbols[(kInsert - 8U) * 4U + 2] = kInsertSymbol;
    EXPECT_EQ(told(copyKeys(state)), "+Ctrl +Insert -Insert -Ctrl");
}

TEST(CopyKeys, usesAnyKeyThatIsControl) {
    auto state = keyboard();
    state.modifiers[2] = {kCaps, kControlR};
    EXPECT_EQ(told(copyKeys(state)), "+CtrlR +Insert -Insert -CtrlR");
    state.modifiers[2] = {0, 0};
    EXPECT_EQ(copyKeys(state), std::nullopt);
}

TEST(CopyKeys, survivesAKeyboardThatTellsLittle) {
    EXPECT_EQ(copyKeys({}), std::nullopt);
    auto state = keyboard();
    state.symbols.resize(20);
    EXPECT_EQ(copyKeys(state), std::nullopt);
    state.symbolsPerKey = 0;
    EXPECT_EQ(copyKeys(state), std::nullopt);
}

} // namespace
} // namespace kelvane
