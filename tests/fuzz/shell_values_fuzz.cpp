// Whatever the script is: what is said of a place of it comes from the text before it, and how a
// finding there weighs is one of the grades that there are.

#include "critics/engines/shell_values.h"
#include "critics/engines/shellcheck_grade.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace trevix;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

} // namespace

// The first byte says where the finding stands, as a share of the rest, which is the script.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes of a text
    const std::string_view script(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t offset = script.size() * data[0] / 255;

    const std::string_view name = shellVariableAt(script.substr(offset));
    require(name.size() <= script.size() - offset);
    const std::string_view command = shellCommandAround(script, offset);
    require(script.substr(0, offset).find(command) != std::string_view::npos);
    require(command.find_first_of(" \t\n") == std::string_view::npos);
    if (shellOrigin(script, name) != ShellOrigin::unknown && name != "0" && name != "OPTARG") {
        // A name that the script sets stands in it twice, or is one of its arguments.
        const bool argument =
            std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
        require(argument || script.find(name) != offset + 1 || script.rfind(name) != offset + 1);
    }

    constexpr std::array<std::string_view, 8> kCodes = {"SC2016", "SC2034", "SC2035", "SC2059",
                                                        "SC2086", "SC2094", "SC2153", "SC2154"};
    for (const std::string_view code : kCodes) {
        const ForeignFault fault{std::string(code), "warning", "", 1, 1, std::string(script)};
        const auto whole = shellcheckGrade(fault, {true, script, offset});
        require(whole == Severity::low || whole == Severity::medium);
        require(shellcheckGrade(fault, {false, script, offset}) <= whole);
        require(shellcheckGrade(fault, {true, script, script.size() + 1}).has_value());
    }
    return 0;
}
