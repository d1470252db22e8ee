// The program without its panel: lines in, lines out, for machines where nobody can click.

#pragma once

namespace kelvane {

/// Runs until the input ends or the user quits; the exit status. Main thread.
[[nodiscard]] int runTerminalFrontEnd(int argc, char** argv);

} // namespace kelvane
