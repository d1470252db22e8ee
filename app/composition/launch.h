// How this process was started, and what follows before there is an application.
//
// Main thread only.

#pragma once

#include "app/shell/qt/single_instance.h"

#include <memory>
#include <optional>
#include <string>

namespace kelvane {

enum class Shape { Picture, Demo, MenuBar };

struct Launch {
    Shape shape = Shape::MenuBar;
    std::optional<std::string> renderPath; ///< Present for a picture: the file that it goes to.
};

/// From the recorded arguments.
[[nodiscard]] Launch launchOfThisProcess();

/// What Qt must be told before its application object is made: where its messages go, that it draws
/// with the CPU, and this application's names.
void prepareQt(const Launch& launch);

/// Has a crash write down nothing of what the program holds: a key, the work of somebody.
void leaveNoCore();

/// Has the environment name the user's home folder where it names none, so that shell scripts mean
/// the same one: what they remove lies below it.
void settleHome();

/// The claim to be the one program in this menu bar; null in the other shapes, which may run beside
/// it. Needs no application object: a second start is to be over at once.
[[nodiscard]] std::unique_ptr<SingleInstance> claimMenuBar(const Launch& launch);

/// The status to end with when another instance does this one's work, which has then been asked to
/// open its panel. Absent when this one is to go on. `instance` may be null.
[[nodiscard]] std::optional<int> handOver(SingleInstance* instance);

} // namespace kelvane
